// The forms of a document, in the script world of content.js: tells what the user types into them and
// sends, and fills in what was remembered of it. Called with a function that reports, the object that
// the actions are put into, a function that fills a field in and one that says whether somebody has
// typed into it.
//
// Nothing is looked at that nobody wants: watchForms() says what is. A form is read through the
// prototypes, since fields that are named like its members would stand in their place.
(report, actions, fill, isEdited) => {
  'use strict';

  const watched = { texts: false, logins: false };
  const mostFields = 64;
  const longestText = 256;
  const longestPassword = 1024;

  const elementsOf = Object.getOwnPropertyDescriptor(HTMLFormElement.prototype, 'elements').get;
  const fieldsOf = form => [...elementsOf.call(form)]
    .filter(element => element instanceof HTMLInputElement && !element.disabled)
    .slice(0, mostFields);
  const attribute = (element, name) =>
    (Element.prototype.getAttribute.call(element, name) ?? '').trim().toLowerCase();

  // A password that is shown is one all the same.
  const passwords = new WeakSet();
  const isPassword = field => {
    if (field.type === 'password') passwords.add(field);
    return passwords.has(field);
  };
  const hintsOf = field => attribute(field, 'autocomplete').split(/\s+/);
  const isOff = field => hintsOf(field).includes('off') ||
    (!Element.prototype.hasAttribute.call(field, 'autocomplete') && !!field.form &&
      attribute(field.form, 'autocomplete') === 'off');
  const isSecret = field =>
    hintsOf(field).some(hint => /^(cc-.*|one-time-code|current-password|new-password)$/.test(hint));
  const isText = field => field instanceof HTMLInputElement &&
    ['text', 'search', 'email', 'tel', 'url'].includes(field.type) && !isPassword(field);
  const isRemembered = field => isText(field) && !field.readOnly && !isOff(field) &&
    !isSecret(field) && nameOf(field) !== '';
  const nameOf = field => field.name || field.id;

  // What we have filled in and nobody has changed since.
  const filled = new WeakMap();
  const put = (field, text) => {
    fill(field, text);
    filled.set(field, text);
  };
  const isFilled = field => filled.get(field) === field.value;
  const isTyped = field => isEdited(field) || isFilled(field);

  // The field with the focus, and what of it was told.
  let current = null;
  const tellField = () => report(Report.fieldText, nameOf(current), current.value.slice(0, longestText));
  const focusMoved = () => {
    const active = document.activeElement;
    if (active === current) return;
    const left = current !== null;
    current = watched.texts && active && isRemembered(active) ? active : null;
    if (current) tellField();
    else if (left) report(Report.fieldLeft);
  };

  // Of a form that asks for one password: where name and password go.
  const loginFieldsOf = (form, which = () => true) => {
    const fields = fieldsOf(form);
    const ofPassword = fields.filter(field => isPassword(field) && !isOff(field) && which(field));
    if (ofPassword.length === 0) return null;
    const before = fields.slice(0, fields.indexOf(ofPassword[0]))
      .filter(field => isText(field) && field.type !== 'search');
    const named = before.filter(field => hintsOf(field).includes('username'));
    return { name: [...before, ...named].at(-1) ?? null, passwords: ofPassword };
  };
  const toFillIn = form => {
    const login = loginFieldsOf(form);
    const isOne = login?.passwords.length === 1 &&
      !hintsOf(login.passwords[0]).includes('new-password');
    return isOne && !isOff(login.name ?? login.passwords[0]) ?
      { name: login.name, password: login.passwords[0] } : null;
  };
  // What was sent: the password, or of several the new one.
  const sentLogin = form => {
    const login = loginFieldsOf(form, field => field.value !== '');
    if (!login || login.passwords.length > 3) return null;
    const values = login.passwords.map(field => field.value);
    const password = values.at(-1);
    if (values.length === 3 && values[1] !== password) return null;
    const isShort = password.length <= longestPassword &&
      (login.name?.value.length ?? 0) <= longestPassword;
    return isShort && isTyped(login.passwords.at(-1)) ?
      { username: login.name?.value ?? '', password } : null;
  };

  const asked = new WeakSet();
  const askForLogin = username => report(Report.loginForm, location.origin, username);
  const lookForLogins = () => {
    if (!watched.logins) return;
    const forms = [...document.querySelectorAll('form')].filter(form => !asked.has(form) && toFillIn(form));
    forms.forEach(form => asked.add(form));
    if (forms.length > 0) askForLogin('');
  };
  // Another name has another password.
  const nameChanged = field => {
    if (!watched.logins || !field.form) return;
    const login = toFillIn(field.form);
    if (!login || login.name !== field || isFilled(field)) return;
    if (filled.has(login.password) && isFilled(login.password)) put(login.password, '');
    if (field.value !== '' && login.password.value === '') askForLogin(field.value);
  };

  const typed = ({ target }) => {
    if (target instanceof HTMLInputElement) isPassword(target);
    if (target === current) tellField();
  };
  const listen = (type, listener) =>
    document.addEventListener(type, listener, { capture: true, passive: true });
  document.addEventListener('DOMContentLoaded', lookForLogins, { once: true });
  listen('focusin', ({ target }) => {
    if (target instanceof HTMLInputElement) isPassword(target);
    focusMoved();
  });
  // A window that has lost the keyboard leaves the focus of its document where it is.
  listen('focusout', () => setTimeout(focusMoved, 0));
  listen('input', typed);
  listen('change', ({ target }) => target instanceof HTMLInputElement && nameChanged(target));

  Object.assign(actions, {
    [Action.watchForms](texts, logins) {
      Object.assign(watched, { texts, logins });
      focusMoved();
      if (document.readyState !== 'loading') lookForLogins();
    },
    [Action.formsChanged]: lookForLogins,
    [Action.submitted](form) {
      if (watched.texts) {
        const texts = fieldsOf(form)
          .filter(field => isRemembered(field) && field.value !== '' &&
            field.value.length <= longestText && isTyped(field))
          .flatMap(field => [nameOf(field), field.value]);
        if (texts.length > 0) report(Report.typed, ...texts);
      }
      const login = watched.logins ? sentLogin(form) : null;
      if (login) report(Report.login, location.origin, login.username, login.password);
    },
    [Action.fillText](text) {
      if (current && current.isConnected) put(current, text);
    },
    [Action.fillLogin](origin, username, password) {
      // Another document may have come meanwhile.
      if (origin !== location.origin || !watched.logins) return;
      for (const form of document.querySelectorAll('form')) {
        const login = toFillIn(form);
        if (!login || login.password.value !== '') continue;
        if (login.name?.value && login.name.value !== username) continue;
        if (login.name && login.name.value !== username) put(login.name, username);
        put(login.password, password);
      }
    },
  });
}

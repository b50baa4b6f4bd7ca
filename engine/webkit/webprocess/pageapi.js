// What the program adds to the documents of a page, in the page's own world: interfaces that the
// engine has not and that the program's user interface answers for. Called before any script of the
// page with two functions: ask(report, ...) waits for a text, tell(report, ...) does not wait. The
// reports are the numbers of link/PageReports.def.
//
// A page can change whatever it sees later, so what is needed then is fetched here.
(ask, tell) => {
  'use strict';

  const { apply, defineProperty } = Reflect;
  const text = String;
  const { DOMException, Number, Promise, TypeError, URL } = window;
  const bind = method => (object, ...values) => apply(method, object, values);
  const getter = (prototype, name) =>
    bind(Object.getOwnPropertyDescriptor(prototype, name).get);
  const includes = bind(text.prototype.includes);
  const toLowerCase = bind(text.prototype.toLowerCase);
  const matches = bind(RegExp.prototype.exec);
  const hrefOf = getter(URL.prototype, 'href');
  const originOf = getter(URL.prototype, 'origin');
  const protocolOf = getter(URL.prototype, 'protocol');
  const baseOf = getter(Node.prototype, 'baseURI');
  const widthOf = getter(Screen.prototype, 'width');
  const heightOf = getter(Screen.prototype, 'height');
  const resolve = bind(Promise.resolve);
  const reject = bind(Promise.reject);
  const { document, screen, origin: ownOrigin } = window;

  const longestText = 65536;
  const bounded = value => {
    const string = text(value);
    if (string.length > longestText) throw new DOMException('That is too long.', 'DataError');
    return string;
  };
  const need = (values, count) => {
    if (values.length < count) throw new TypeError('Not enough arguments');
  };
  // Like the functions of an interface, these can be changed and are listed.
  const define = (object, functions) => {
    for (const [name, value] of Object.entries(functions)) {
      defineProperty(object, name, { value, writable: true, enumerable: true, configurable: true });
    }
  };
  const isOfWeb = url => protocolOf(url) === 'https:' || protocolOf(url) === 'http:';
  const addressOf = (value, error) => {
    let url;
    try {
      url = new URL(bounded(value), baseOf(document));
    } catch {
      throw new DOMException('That is no address.', error);
    }
    return url;
  };

  // The orientation of the screen.
  const landscapes = {
    __proto__: null, 'landscape': true, 'landscape-primary': true, 'landscape-secondary': true,
    'portrait': false, 'portrait-primary': false, 'portrait-secondary': false, 'natural': true,
    'any': null,
  };
  const orientation = screen.orientation || new EventTarget();
  if (!screen.orientation) {
    const isLandscape = () => widthOf(screen) >= heightOf(screen);
    defineProperty(orientation, 'type', { enumerable: true, configurable: true,
      get: () => (isLandscape() ? 'landscape-primary' : 'portrait-primary') });
    defineProperty(orientation, 'angle', { enumerable: true, configurable: true, value: 0 });
    defineProperty(screen, 'orientation', { enumerable: true, configurable: true,
      value: orientation });
  }
  define(orientation, {
    lock(...values) {
      try {
        need(values, 1);
        const wanted = text(values[0]);
        if (!(wanted in landscapes)) throw new TypeError(`There is no orientation "${wanted}".`);
        const result = ask(Report.lockOrientation,
          landscapes[wanted] ?? widthOf(screen) >= heightOf(screen));
        if (result === 'locked') return resolve(Promise);
        return reject(Promise, result === 'refused'
          ? new DOMException('The orientation may not be locked.', 'AbortError')
          : new DOMException('The orientation cannot be locked.', 'NotSupportedError'));
      } catch (error) {
        return reject(Promise, error);
      }
    },
    unlock() {
      tell(Report.unlockOrientation);
    },
  });

  // Handlers of protocols.
  const allowed = { __proto__: null };
  for (const scheme of ['bitcoin', 'ftp', 'ftps', 'geo', 'im', 'irc', 'ircs', 'magnet', 'mailto',
    'matrix', 'mms', 'news', 'nntp', 'openpgp4fpr', 'sftp', 'sip', 'sms', 'smsto', 'ssh', 'tel',
    'urn', 'webcal', 'wtai', 'xmpp']) allowed[scheme] = true;
  const ownScheme = /^web\+[a-z]+$/;
  const handlerOf = values => {
    need(values, 2);
    const scheme = toLowerCase(bounded(values[0]));
    const template = bounded(values[1]);
    if (!(scheme in allowed) && !matches(ownScheme, scheme)) {
      throw new DOMException(`Pages may not handle "${scheme}".`, 'SecurityError');
    }
    if (!includes(template, '%s')) {
      throw new DOMException('The address has no %s in it.', 'SyntaxError');
    }
    const url = addressOf(template, 'SyntaxError');
    if (originOf(url) !== ownOrigin || !isOfWeb(url)) {
      throw new DOMException('The address is not of this site.', 'SecurityError');
    }
    return [scheme, hrefOf(url), baseOf(document)];
  };
  define(Navigator.prototype, {
    registerProtocolHandler(...values) {
      tell(Report.registerProtocolHandler, ...handlerOf(values),
        values[2] === undefined ? '' : bounded(values[2]));
    },
    isProtocolHandlerRegistered(...values) {
      return ask(Report.isProtocolHandlerRegistered, ...handlerOf(values)) || 'new';
    },
    unregisterProtocolHandler(...values) {
      tell(Report.unregisterProtocolHandler, ...handlerOf(values));
    },
  });

  // Search providers.
  const providerOf = values => {
    need(values, 1);
    const url = addressOf(values[0], 'SyntaxError');
    if (!isOfWeb(url)) throw new DOMException('The address is not of the web.', 'SecurityError');
    return hrefOf(url);
  };
  const external = window.external || {};
  define(external, {
    AddSearchProvider(...values) {
      tell(Report.addSearchProvider, providerOf(values));
    },
    IsSearchProviderInstalled(...values) {
      return Number(ask(Report.isSearchProviderInstalled, providerOf(values))) || 0;
    },
  });
  if (!window.external) {
    defineProperty(window, 'external', { value: external, writable: true, enumerable: true,
      configurable: true });
  }
}

// What the program keeps in every document, in a script world of its own that no page can reach:
// it tells what changes there, and does what the program asks of the document. Called with a function
// that reports, and the object that the actions are put into. Report and Action are the numbers of
// link/PageReports.def and PageActions.def.
//
// State is told once per frame at most, and only what has changed. Events that nobody wants are
// not looked for: watch() says which are.
(report, actions) => {
  'use strict';

  const told = new Map();
  // Tells a piece of state if it is another one than last time.
  const tell = (what, ...values) => {
    const text = values.join(' ');
    if (told.get(what) === text) return;
    told.set(what, text);
    report(what, ...values);
  };

  const watched = { selection: false, caret: false, rendering: false, clipboard: false,
    controls: false, keys: false, width: false };

  const root = () => document.scrollingElement || document.documentElement;

  const LONGEST_FRAME_MS = 250;
  let pending = false;
  let rendered = true;
  const look = () => {
    if (!pending) return;
    pending = false;
    const element = root();
    if (!element) return;
    tell(Report.scrolled, Math.round(window.scrollX), Math.round(window.scrollY));
    tell(Report.content, element.scrollWidth, element.scrollHeight);
    tell(Report.encoding, document.characterSet || '');
    tell(Report.pinch, window.visualViewport ? window.visualViewport.scale : 1);
    if (!rendered && watched.rendering) {
      rendered = true;
      report(Report.rendered, Math.round(window.scrollX), Math.round(window.scrollY),
        window.innerWidth, window.innerHeight, element.scrollWidth, element.scrollHeight);
    }
  };
  // With the next frame. A hidden page has none, and one that nobody sees or that is hidden meanwhile
  // may not get it, so it is looked at without.
  const lookSoon = () => {
    if (pending) return;
    pending = true;
    const isHidden = document.visibilityState === 'hidden';
    if (!isHidden) requestAnimationFrame(look);
    setTimeout(look, isHidden ? 0 : LONGEST_FRAME_MS);
  };
  const resized = () => {
    rendered = false;
    lookSoon();
  };

  const isTextField = element => element instanceof HTMLTextAreaElement ||
    (element instanceof HTMLInputElement && element.selectionStart !== null);
  const isEditable = element => !!element && (isTextField(element) || element.isContentEditable);
  const longestText = 1024;
  let atPointer = null;
  // The element under the pointer, in the words of the context that the chrome knows.
  const describe = element => [
    element?.getAttribute('alt') ?? '',
    element?.matches('audio, audio *') ?? false,
    !!element && element.tabIndex >= 0,
    element?.type === 'password',
    element instanceof HTMLInputElement && isTextField(element),
    element?.matches('video, video *') ?? false,
    element?.getAttribute('type') ?? '',
    element?.getAttribute('pattern') ?? '',
    (isTextField(element) ? element.value : element?.textContent ?? '').slice(0, longestText),
  ];
  const pointed = event => {
    const element = event.target instanceof Element ? event.target : null;
    if (element === atPointer) return;
    atPointer = element;
    tell(Report.tooltip, element?.closest('[title]')?.getAttribute('title') ?? '');
    report(Report.element, ...describe(element));
  };

  const rounded = rect => [Math.round(rect.left), Math.round(rect.top), Math.round(rect.width),
    Math.round(rect.height)];

  const selectionChanged = () => {
    const selection = document.getSelection();
    const active = document.activeElement;
    if (isTextField(active)) {
      // What is inside a field has no rectangles; the field's own stands for them.
      const box = rounded(active.getBoundingClientRect());
      if (active.selectionStart === active.selectionEnd) {
        if (watched.caret) report(Report.caret, ...box);
      } else if (watched.selection) {
        report(Report.selection, ...box, ...box);
      }
      return;
    }
    if (!selection || selection.rangeCount === 0) return;
    const range = selection.getRangeAt(0);
    const boxes = range.getClientRects();
    if (selection.isCollapsed) {
      if (!watched.caret || !isEditable(active)) return;
      report(Report.caret, ...rounded(boxes[0] || active.getBoundingClientRect()));
    } else if (watched.selection && boxes.length > 0) {
      report(Report.selection, ...rounded(boxes[0]), ...rounded(boxes[boxes.length - 1]));
    }
  };

  const controls = () => [...document.querySelectorAll(
    'input:not([type=hidden]), select, textarea, button, a[href], [tabindex], [contenteditable]')]
    .filter(element => !element.disabled && element.tabIndex >= 0 &&
      element.getClientRects().length > 0);
  const formControls = () => [...document.querySelectorAll(
    'input:not([type=hidden]), select, textarea')]
    .filter(element => !element.disabled && element.getClientRects().length > 0);

  const focusMoved = () => {
    if (!watched.controls) return;
    const list = formControls();
    const position = list.indexOf(document.activeElement);
    tell(Report.controls, position >= 0 && position + 1 < list.length, position > 0, position >= 0);
  };

  const longestAddress = 4096;
  const fullScreenChanged = () => {
    const element = document.fullscreenElement;
    const isVideo = element instanceof HTMLVideoElement;
    const source = isVideo ? element.currentSrc || element.src : '';
    tell(Report.videoFullScreen, isVideo, source.slice(0, longestAddress));
  };

  const clipboard = event => {
    if (watched.clipboard) report(event.type === 'paste' ? Report.clipboardRead : Report.clipboardWrite);
  };

  // Of all the keys that a page does not take, the engine keeps these to itself.
  const keyPressed = event => {
    if (!watched.keys || !event.isTrusted || !event.altKey || !event.key.startsWith('Arrow')) return;
    if (event.target instanceof HTMLSelectElement) return;
    // When the page has seen it, too.
    setTimeout(() => event.defaultPrevented || report(Report.keyLeft), 0);
  };

  // When a document is there, and when all that belongs to it is.
  const measure = () => {
    const element = root();
    if (watched.width && element) report(Report.width, element.scrollWidth, element.clientWidth);
  };

  const started = () => {
    lookSoon();
    measure();
    new ResizeObserver(resized).observe(document.documentElement);
    if (document.body) new ResizeObserver(resized).observe(document.body);
  };
  document.addEventListener('DOMContentLoaded', started, { once: true });
  const listen = (target, type, listener) =>
    target.addEventListener(type, listener, { capture: true, passive: true });
  listen(window, 'load', resized);
  listen(window, 'load', measure);
  listen(window, 'pageshow', event => {
    told.clear();
    resized();
    if (event.persisted) measure();
  });
  listen(window, 'resize', resized);
  listen(document, 'scroll', lookSoon);
  listen(document, 'visibilitychange', lookSoon);
  listen(document, 'mouseover', pointed);
  listen(window, 'keydown', keyPressed);
  listen(document, 'selectionchange', selectionChanged);
  listen(document, 'focusin', focusMoved);
  listen(document, 'focusout', () => setTimeout(focusMoved, 0));
  listen(document, 'fullscreenchange', fullScreenChanged);
  for (const type of ['copy', 'cut', 'paste']) listen(document, type, clipboard);
  if (window.visualViewport) {
    listen(window.visualViewport, 'resize', lookSoon);
    listen(window.visualViewport, 'scroll', lookSoon);
  }

  const scroll = (left, top, behavior) => window.scrollTo({ left, top, behavior });
  const focusBy = step => {
    const list = controls();
    if (list.length === 0) return;
    const position = list.indexOf(document.activeElement);
    const next = position < 0 ? (step > 0 ? 0 : list.length - 1)
      : (position + step + list.length) % list.length;
    list[next].focus();
  };

  Object.assign(actions, {
    [Action.watch](selection, caret, rendering, clipboardUse, controlFocus, keys, width) {
      Object.assign(watched, { selection, caret, rendering, clipboard: clipboardUse,
        controls: controlFocus, keys, width });
    },
    [Action.scrollTo](x, y) { scroll(x, y, 'instant'); },
    [Action.animateTo](x, y) { scroll(x, y, 'smooth'); },
    [Action.scrollBy](x, y) { window.scrollBy({ left: x, top: y, behavior: 'instant' }); },
    [Action.animateBy](x, y) { window.scrollBy({ left: x, top: y, behavior: 'smooth' }); },
    [Action.stopScrolling]() { scroll(window.scrollX, window.scrollY, 'instant'); },
    // The zoom comes by another way: wait until it is here, but not for ever.
    [Action.scrollAfterZoom](x, y) {
      const go = () => {
        window.removeEventListener('resize', go);
        clearTimeout(limit);
        scroll(x, y, 'instant');
      };
      const limit = setTimeout(go, 250);
      window.addEventListener('resize', go);
    },
    [Action.clearFocus]() {
      if (document.activeElement) document.activeElement.blur();
    },
    [Action.focusNext]() { focusBy(1); },
    [Action.focusPrevious]() { focusBy(-1); },
    [Action.focusEdge](last) {
      const list = controls();
      if (list.length > 0) list[last ? list.length - 1 : 0].focus();
    },
    [Action.describe]() { report(Report.element, ...describe(atPointer), true); },
    [Action.submitForm]() {
      const form = document.activeElement && document.activeElement.form;
      if (form) form.requestSubmit();
    },
    [Action.exitFullScreen]() {
      if (document.fullscreenElement) document.exitFullscreen();
    },
  });
}

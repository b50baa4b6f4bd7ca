// Tabs without the program: what they are told, and what is asked of their web views.

// What every page has, and node only from version 19 on.
globalThis.CustomEvent ??= class CustomEvent extends Event {
  constructor(type, { detail = null, ...options } = {}) {
    super(type, options);
    this.detail = detail;
  }
};

// With what the test needs of the tabs besides.
export function fakeTabs(fields) {
  const tabs = Object.assign(new EventTarget(), { list: [], ...fields });
  tabs.report = (type, tab) => tabs.dispatchEvent(Object.assign(new Event(type), { detail: tab }));
  tabs.open = (tab) => {
    tabs.list.push(tab);
    for (const type of ['attached', 'created']) tabs.report(type, tab);
    return tab;
  };
  tabs.close = (tab) => {
    tabs.list = tabs.list.filter((each) => each !== tab);
    tabs.report('closed', tab);
  };
  return tabs;
}

// A tab whose view takes every command and notes it in the calls; the commands given have answers.
export function fakeTab({ commands = {}, calls = [], ...fields } = {}) {
  const listeners = {};
  const view = new Proxy({ ...commands, on: (name, listener) => { listeners[name] = listener; } }, {
    get: (known, name) => known[name] ?? ((...args) => void calls.push([name, ...args])),
  });
  return { view, calls, ready: true, raise: (name, data) => listeners[name]({ data }), ...fields };
}

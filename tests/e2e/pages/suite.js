// The little that the suites below share: they run as the chrome of the real program and report on
// its standard output, a line per test and "end" at last.

export const events = [];
// The names of everything that was raised in the whole suite.
const seen = new Set();
export const errors = [];
// The commands of the whole suite; those of a test that fails are forgotten.
const called = new Set();
let calledNow = new Set();
// The web views of a test, which go with it at the latest.
const made = new Set();
export const native = (name, ...args) => {
  calledNow.add(name);
  if (name === 'webview.delete') made.delete(args[0]);
  return orv.callNative(name, ...args);
};
// A command of a web view.
export const get = (view, name, ...args) => native(`webview.${name}`, view, ...args);
export const title = view => get(view, 'title');
export const script = (view, text, ...world) => get(view, 'executeJavaScript', text, ...world);
export const print = line => native('webview.printToStdout', 1, `${line}\n`);

// Has the test do something on the display: a command of tests/support/Screen.h.
export const perform = command => print(`do ${command}`);

// Has the test wait for a text on the program's standard error.
export const said = text => print(`said ${text}`);

// What sent events are answered with: setters, or a function of the event that gives some. A text is
// the answer as it is; that to 'any event' counts for those that have none of their own.
export const answers = new Map();

globalThis.chrome = {
  internal: {
    webEvent(handle, name, data, integer) {
      events.push({ handle, name, data, integer });
      seen.add(name);
      const answer = answers.get(name) ?? answers.get('any event');
      if (typeof answer === 'string') return answer;
      const setters = typeof answer === 'function' ? answer(JSON.parse(data)) : answer;
      return setters && JSON.stringify(setters);
    },
  },
  native: { error: message => { errors.push(message); } },
};

// Bounded: a condition, which may be a promise, that never comes true fails its test and says what was
// raised last.
export async function until(condition, what = condition.toString()) {
  for (const end = performance.now() + 15000; ;) {
    const value = await condition();
    if (value) return value;
    if (performance.now() > end) {
      const last = events.slice(-12).map(e => `${e.handle} ${e.name}`).join(', ');
      throw new Error(`waited in vain: ${what}; last events: ${last || 'none'}`);
    }
    await new Promise(resolve => setTimeout(resolve, 5));
  }
}

export function equal(actual, expected) {
  const [a, e] = [actual, expected].map(value => JSON.stringify(value));
  if (a !== e) throw new Error(`got ${a} instead of ${e}`);
}

export function ok(value, what) {
  if (!value) throw new Error(what);
}

// The bodies of all events of that name so far.
export const bodies = (handle, name) =>
  events.filter(e => e.handle === handle && e.name === name).map(e => JSON.parse(e.data));

export const happened = (handle, name) => events.some(e => e.handle === handle && e.name === name);

// Of what the test hands to the suite, where its server is.
export const query = new URLSearchParams(location.search);
export const server = query.get('server');

// Where the web views of this run live: in the program's own process, or in the child process with
// that number. In a child, events and what setters do arrive later than what getters answer, and a
// posted event may come before a sent one that was raised earlier: tests wait for what they look at.
export const process = query.get('process') ?? '';

// A web view that exists, its events and properties all enabled.
export async function createView(where = process) {
  const group = native('webview.applicationWindowGroup', 1);
  const handle = Number(native('webview.create', group, where || 'InProcess'));
  ok(handle, `no web view in process ${where}: ${errors.join(' ')}`);
  made.add(handle);
  await until(() => happened(handle, 'Created'), 'Created');
  native('webview.setAllWebEventsEnabled', handle, true);
  native('webview.setAllPropertyChangedEventsEnabled', handle, true);
  return handle;
}

// Has the web view load something, and forgets what was told before. A page that comes back from the
// cache tells no DocumentLoaded.
export async function loaded(view, command, ...args) {
  events.length = 0;
  get(view, command, ...args);
  await until(() => happened(view, 'DocumentLoadFinished'), command);
}

// The value of an expression in the page, as a text.
export async function value(view, text, ...world) {
  const id = script(view, text, ...world);
  const result = await until(() => bodies(view, 'JavaScriptResult').find(b => b.resultId === id), text);
  return result.resultString;
}

// Until the cookies for the test's server are these: other processes hear of them a little later.
export const hasCookies = (view, expected) => until(async () => {
  const before = bodies(view, 'CookieResult').length;
  get(view, 'getCookies', server);
  await until(() => bodies(view, 'CookieResult').length > before, 'CookieResult');
  const found = bodies(view, 'CookieResult').at(-1).cookies.map(text => text.split(';')[0]).sort();
  return JSON.stringify(found) === JSON.stringify(expected);
}, `the cookies ${expected}`);

const tests = [];
export const test = (name, body) => tests.push([name, body]);

export async function run() {
  for (const [name, body] of tests) {
    events.length = 0;
    errors.length = 0;
    calledNow = new Set();
    made.clear();
    answers.clear();
    try {
      await body();
      for (const command of calledNow) called.add(command);
      print(`ok ${name}`);
    } catch (error) {
      print(`not ok ${name}: ${error.message}`);
    }
    for (const view of made) native('webview.delete', view);
  }
  print(`# called ${[...called].join(' ')}`);
  print(`# raised ${[...seen].join(' ')}`);
  print('end');
}

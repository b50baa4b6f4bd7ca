// The little that the suites below share: they run as the chrome of the real program and report on
// its standard output, a line per test and "end" at last.

export const events = [];
// The names of everything that was raised in the whole suite.
const seen = new Set();
export const errors = [];
// The commands of the whole suite; those of a test that fails are forgotten.
const called = new Set();
let calledNow = new Set();
export const native = (name, ...args) => {
  calledNow.add(name);
  return orv.callNative(name, ...args);
};
export const print = line => native('webview.printToStdout', 1, `${line}\n`);

// Has the test do something on the display: a command of tests/support/Screen.h.
export const perform = command => print(`do ${command}`);

// Has the test wait for a text on the program's standard error.
export const said = text => print(`said ${text}`);

// What sent events are answered with: setters, or a function of the event that gives some.
export const answers = new Map();
// A text to answer every question with, as it is.
export const raw = { answer: undefined };

globalThis.chrome = {
  internal: {
    webEvent(handle, name, data, integer) {
      events.push({ handle, name, data, integer });
      seen.add(name);
      if (raw.answer !== undefined) return raw.answer;
      const answer = answers.get(name);
      const setters = typeof answer === 'function' ? answer(JSON.parse(data), handle) : answer;
      return setters && JSON.stringify(setters);
    },
  },
  native: { error: message => { errors.push(message); } },
};

// Bounded: a condition that never comes true fails its test.
export function until(condition, what = condition.toString()) {
  return new Promise((resolve, reject) => {
    const end = performance.now() + 15000;
    const look = () => {
      const value = condition();
      if (value) resolve(value);
      else if (performance.now() > end) reject(new Error(`waited in vain: ${what}`));
      else setTimeout(look, 5);
    };
    look();
  });
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

// Where the web views of this run live: in the program's own process, or in the child process with
// that number. In a child, events and what setters do arrive later than what getters answer, and a
// posted event may come before a sent one that was raised earlier: tests wait for what they look at.
export const process = new URLSearchParams(location.search).get('process') ?? '';

// A web view that exists, its events and properties all enabled.
export async function createView(where = process) {
  const group = native('webview.applicationWindowGroup', 1);
  const handle = Number(native('webview.create', group, where || 'InProcess'));
  ok(handle, `no web view in process ${where}: ${errors.join(' ')}`);
  await until(() => happened(handle, 'Created'), 'Created');
  native('webview.setAllWebEventsEnabled', handle, true);
  native('webview.setAllPropertyChangedEventsEnabled', handle, true);
  return handle;
}

const tests = [];
export const test = (name, body) => tests.push([name, body]);

export async function run() {
  for (const [name, body] of tests) {
    events.length = 0;
    errors.length = 0;
    calledNow = new Set();
    answers.clear();
    raw.answer = undefined;
    try {
      await body();
      for (const command of calledNow) called.add(command);
      print(`ok ${name}`);
    } catch (error) {
      print(`not ok ${name}: ${error.message}`);
    }
  }
  print(`# called ${[...called].join(' ')}`);
  print(`# raised ${[...seen].join(' ')}`);
  print('end');
}

import assert from 'node:assert/strict';
import test, { beforeEach, mock } from 'node:test';

const COMMANDS = [
  'create', 'delete', 'list', 'loadURL', 'title', 'captureContents', 'location', 'canGoBack', 'canGoForward', 'favicon', 'secureType', 'encryptionInfo', 'scale',
  'loadProgress', 'isPrivateBrowsing', 'setVisible',
];
let calls;
let pagehost;
let copies = 0;

const load = () => import(`../../chrome/pagehost.js?copy=${++copies}`);
const raise = (...event) => globalThis.chrome.internal.webEvent(...event);

beforeEach(async () => {
  calls = [];
  delete globalThis[Symbol.for('pagehost.hub')];
  globalThis.chrome = { internal: { application: 'kept' } };
  globalThis.orv = {
    callNative(name, ...args) {
      calls.push([name, ...args]);
      if (name === 'bindingManager.listBindings') return COMMANDS.map((command) => `webview.${command}\n`).join('');
      return { 'webview.create': '7', 'webview.title': 'A title', 'webview.jsScreenWindowHandle': '100000', 'windowAnimations.animateGlobalAlphaMultiple': '0' }[name];
    },
  };
  mock.restoreAll();
  mock.method(console, 'error', () => {});
  pagehost = await load();
});

test('nothing is enabled before Created, everything inside it', async () => {
  const view = pagehost.WebView.create('group');
  const seen = [];
  calls.length = 0;
  view.onProperty('Title', (title) => seen.push(title));
  view.on('DocumentLoadFinished', () => {});
  assert.deepEqual(calls, []);
  raise(7, 'Created', '', 0);
  assert.deepEqual(calls, [
    ['webview.setWebEventEnabled', 7, 'PropertyChanged', true],
    ['webview.setPropertyChangedEventEnabled', 7, 'Title', true],
    ['webview.setWebEventEnabled', 7, 'DocumentLoadFinished', true],
  ]);
  assert.equal(await view.created, view);

  raise(7, 'PropertyTitleEvent', '{"looks":"like JSON"}', 0);
  raise(8, 'PropertyTitleEvent', 'of another view', 0);
  for (const name of ['CanGoBack', 'LoadProgress']) view.onProperty(name, (value) => seen.push(value));
  raise(7, 'PropertyCanGoBackEvent', 'false', 0);
  raise(7, 'PropertyLoadProgressEvent', '40', 0);
  assert.deepEqual(seen, ['{"looks":"like JSON"}', false, 40]);
  assert.equal(view.title(), 'A title');
  assert.equal(view.goBack, undefined);
});

test('a view that is there already takes commands at once, and its properties are asked for once', async () => {
  const { Tab } = await import('../../chrome/tab.js');
  globalThis.document = { hasFocus: () => true };
  const tab = new Tab(() => {}, { process: { number: 0 }, processes: {} });
  tab.takeOver(9);
  assert.deepEqual([tab.ready, tab.title], [true, 'A title']);
  calls.length = 0;
  tab.view.onProperty('Title', () => {});
  assert.deepEqual(calls, []);
  assert.equal(await tab.view.created, tab.view);
});

test('pictures are taken one after the other, and the row ends with the view', async () => {
  const view = new pagehost.WebView(7);
  const [first, second] = [view.capture(), view.capture()];
  const turn = () => new Promise((resolve) => { setImmediate(resolve); });
  await turn();
  raise(7, 'CaptureContents', '{"base64PNGImage":"AA"}', 0);
  assert.equal(await first, 'data:image/png;base64,AA');
  await turn();
  const ended = Promise.all([second, view.capture()].map((each) => assert.rejects(each, /has ended/)));
  view.delete();
  await ended;
});

test('commands before Created are kept in their order, and what an event takes is switched on', () => {
  const view = pagehost.WebView.create('group');
  calls.length = 0;
  assert.equal(view.loadURL('a'), '');
  view.on('NetworkResourceRequested', () => {});
  assert.deepEqual(calls, []);
  raise(7, 'Created', '', 0);
  assert.deepEqual(calls, [
    ['webview.loadURL', 7, 'a'],
    ['webview.setWebEventEnabled', 7, 'NetworkResourceRequested', true],
    ['webview.setEnableNetworkResourceRequestedEvents', 7, true],
  ]);
});

test('what is waited for comes, or fails with the reason, and with the view', async () => {
  const view = new pagehost.WebView(7);
  const begin = (promise) => new Promise((resolve) => { setImmediate(() => resolve({ promise })); });
  const { promise: good } = await begin(view.load('a'));
  raise(7, 'DocumentLoadFinished', '', 0);
  await good;
  const { promise: bad } = await begin(assert.rejects(view.load('b'), { message: 'refused', status: 5 }));
  raise(7, 'NetworkError', '{"message":"refused","status":5,"url":"b"}', 0);
  raise(7, 'DocumentLoadFailed', '', 0);
  await bad;
  const { promise: gone } = await begin(assert.rejects(view.run('1'), /has ended/));
  view.delete();
  await gone;
});

test('the end of a process has a cause, and an answer', () => {
  const view = new pagehost.WebView(7);
  const seen = [];
  view.onProcessEnd((end) => { seen.push(end); return { setPreventDefault: true }; });
  assert.equal(raise(7, 'NetworkError', '{"status":404}', 0), undefined);
  assert.equal(raise(7, 'NetworkError', '{"status":-2}', 0), '{"setPreventDefault":true}');
  raise(7, 'ProcessCrash', '', 0);
  assert.deepEqual(seen, [{ cause: 'memory', isGone: false }, { cause: 'host', isGone: true }]);
});

test('animations are of windows, and their ids begin at 1', async () => {
  const view = new pagehost.WebView(7);
  const timing = { duration: 100 };
  for (const what of [{}, { window: 0 }, { view: 7 }]) assert.throws(() => pagehost.animate(timing, [{ ...what, from: [0], to: [1] }]), TypeError);
  assert.throws(() => pagehost.animate(timing, [{ view, from: [0, 0], to: [1] }]), TypeError);
  calls.length = 0;
  const moved = pagehost.animate(timing, [{ view, from: [0], to: [255] }]);
  assert.deepEqual(calls.at(-2), ['windowAnimations.animateGlobalAlphaMultiple', 'Linear', 100, 100000, 0, 255]);
  assert.deepEqual(moved.ids, [1]);
  globalThis.chrome.internal.windowAnimations.onWindowAnimationFinished(0);
  await moved;
});

test('the answers of all listeners are merged; failures and promises are none', () => {
  const view = new pagehost.WebView(7);
  assert.equal(raise(7, 'OpenWindow', '{}', 0), undefined);
  view.on('OpenWindow', () => { throw new Error('broken'); });
  view.on('OpenWindow', async () => ({ setModal: true }));
  view.on('OpenWindow', () => null);
  view.on('OpenWindow', () => 'text');
  assert.equal(raise(7, 'OpenWindow', '{}', 0), undefined);
  view.on('OpenWindow', ({ data }) => ({ setAction: data.url ? 'CREATE' : 'DISCARD' }));
  pagehost.on('OpenWindow', () => ({ setPreventDefault: true }));
  assert.equal(raise(7, 'OpenWindow', '{"url":"a"}', 0), '{"setAction":"CREATE","setPreventDefault":true}');
});

test('a view that ends takes its listeners along, also before it began', async () => {
  const view = pagehost.WebView.create('group');
  const ended = assert.rejects(view.created, /never created/);
  let heard = 0;
  view.on('Focus', () => heard++);
  raise(7, 'Destroyed', '', 0);
  raise(7, 'Focus', '', 0);
  assert.equal(heard, 0);
  await ended;
});

test('two copies share listeners and dispatch once', async () => {
  let heard = 0;
  pagehost.on('Focus', () => heard++);
  const second = await load();
  second.on('Focus', () => heard++);
  raise(7, 'Focus', '', 0);
  assert.equal(heard, 2);
  assert.equal(globalThis.chrome.internal.application, 'kept');
});

// What settings do to real pages, and what the chrome asks and does of a web view besides.
import { answers, bodies, createView, equal, errors, events, get, happened, loaded, native, ok, perform, process, query, said,
  server, test, until } from './suite.js';

const load = (view, html) =>
  loaded(view, 'loadStringWithBase', `<!doctype html><title>still</title><body>${html}`, server, 'text/html');
// Setters of children are done a little later.
const becomes = (view, getter, expected) =>
  until(() => get(view, getter) === String(expected), `${getter} ${expected}, not ${get(view, getter)}`);
const told = (view, property) =>
  events.filter(e => e.handle === view && e.name === `Property${property}Event`).map(e => e.data);
const titleOf = expression => `<script>onload = async () => { document.title = String(${expression}) }</` + 'script>';

// A setting, its value, a page that shows it as its title, the title without and with it.
const shown = [
  ['setEnableJavaScript', false, titleOf('1 + 1'), '2', 'still'],
  ['setLoadImages', false, `<img src="${server}image">${titleOf("performance.getEntriesByType('resource').length")}`, '1', '0'],
  ['setEnableWebSockets', false, titleOf('typeof WebSocket'), 'function', 'undefined'],
  ['setEnableGeolocation', false, titleOf('typeof navigator.geolocation'), 'object', 'undefined'],
  ['setEnableCookies', false, titleOf('navigator.cookieEnabled'), 'true', 'false'],
  ['setDefaultFontSize', 30, titleOf('getComputedStyle(document.body).fontSize'), '16px', '30px'],
  ['setMinimumFontSize', 40, `<b id=b style="font-size:5px">b</b>${titleOf('b.offsetHeight > 30')}`, 'false', 'true'],
  ['setStandalone', true, titleOf('navigator.standalone'), 'undefined', 'true'],
  ['setUserAgent', 'Somebody/2', titleOf("navigator.userAgent === 'Somebody/2'"), 'false', 'true'],
  ['setEnableCrossSiteXHR', true,
    titleOf(`await fetch('${server.replace('127.0.0.1', 'localhost')}x').then(r => r.status, () => 'refused')`), 'refused', '200'],
];
for (const [setter, value, html, without, with_] of shown) {
  test(`${setter} is seen by pages`, async () => {
    const view = await createView();
    await load(view, html);
    await becomes(view, 'title', without);
    get(view, setter, value);
    await load(view, html);
    await becomes(view, 'title', with_);
  });
}

test('origins are let read, and no more', async () => {
  const view = await createView();
  const other = server.replace('127.0.0.1', 'localhost');
  const page = titleOf(`await fetch('${other}x').then(r => r.status, () => 'refused')`);
  for (const [command, expected] of [['addOriginAccessWhitelistEntry', '200'],
    ['removeOriginAccessWhitelistEntry', 'refused']]) {
    get(view, command, server, other.slice(0, -1), false);
    await load(view, page);
    await becomes(view, 'title', expected);
  }
});

test('pages go back, are loaded again and stopped', async () => {
  const view = await createView();
  await loaded(view, 'loadURL', `${server}one`);
  await loaded(view, 'loadURL', `${server}two`);
  equal(['loadProgress', 'originalLocation', 'encryptionInfo', 'historyLength'].map(name => get(view, name)),
    ['100', `${server}two`, '', '2']);
  await becomes(view, 'textEncoding', 'windows-1252');
  await loaded(view, 'goBack');
  equal(get(view, 'location'), `${server}one`);
  await loaded(view, 'reload');
  get(view, 'clearBackForwardList', true);
  await becomes(view, 'historyLength', 1);
  get(view, 'setEnableNetworkResourceRequestedEvents', true);
  // The stream is never answered.
  answers.set('NetworkResourceRequested', { setAction: 'SUBSTITUTE' });
  events.length = 0;
  get(view, 'loadURL', `${server}never`);
  await until(() => happened(view, 'NetworkResourceRequested'));
  get(view, 'stop');
  await until(() => happened(view, 'DocumentLoadFinished'));
  equal(get(view, 'location'), `${server}one`);
});

test('events and property changes are chosen', async () => {
  const view = await createView();
  const masks = ['isAnyWebEventsEnabled', 'isAllWebEventsEnabled', 'isAnyPropertyChangedEventsEnabled',
    'isAllPropertyChangedEventsEnabled'];
  const areNow = expected => until(() => masks.map(name => get(view, name)).join('') === expected, expected);
  await areNow('1111');
  get(view, 'setWebEventEnabled', 'LocationChange', false);
  get(view, 'setPropertyChangedEventEnabled', 'ZOrder', false);
  await areNow('1010');
  equal(['ZOrder', 'Title'].map(name => get(view, 'isPropertyChangedEventEnabled', name)), ['0', '1']);
  get(view, 'setZOrder', 5);
  get(view, 'setDefaultFontSize', 21);
  await until(() => told(view, 'DefaultFontSize').length === 1);
  equal([get(view, 'zOrder'), told(view, 'ZOrder')], ['5', []]);
  const names = JSON.parse(get(view, 'eventNames'));
  ok(names.LocationChange && names.PropertyZOrderEvent, 'names');
  get(view, 'setAllPropertyChangedEventsEnabled', false);
  get(view, 'setAllWebEventsEnabled', false);
  await areNow('0000');
});

test('a web view has its place, its window and one of colour', async () => {
  const view = await createView();
  const other = await createView();
  const place = { height: 200, width: 300, x: 10, y: 20 };
  get(view, 'setViewport', JSON.stringify(place));
  await becomes(view, 'viewport', JSON.stringify(place));
  get(view, 'notifyViewportChanged', JSON.stringify({ ...place, x: 11 }));
  await until(() => told(view, 'Viewport').length === 2);
  ok(get(view, 'windowUniqueId') && get(view, 'windowUniqueId') !== get(other, 'windowUniqueId'), 'unique');
  ok(Number(get(view, 'jsScreenWindowHandle')) > 0, 'a window');
  get(view, 'setActive', true);
  await becomes(view, 'isActive', 1);
  get(view, 'setFadeWindowColor', 255, 0, 0, 128);
  const fade = get(view, 'createFadeColorWindow', 0, 0, 50, 50, 9);
  ok(Number(fade) > 0, 'a coloured window');
  get(view, 'setFadeColorWindowRect', 5, 5, 20, 20);
  equal([get(view, 'fadeColorWindowPlatformHandle'), get(view, 'createFadeColorWindow', 1, 1, 1, 1, 1)], [fade, fade]);
  get(view, 'destroyFadeColorWindow');
  await becomes(view, 'fadeColorWindowPlatformHandle', 0);
});

test('what the pointer is at is told', async () => {
  const view = await createView();
  get(view, 'setGeometry', 0, 0, 300, 200);
  get(view, 'setZOrder', 50);
  await load(view, `<a href="${server}there" title="a hint" style="display:block;height:150px">link</a>`);
  await until(() => happened(view, 'ContentRendered'));
  perform('move 40 40');
  perform('move 50 60');
  await becomes(view, 'status', `${server}there`);
  await becomes(view, 'tooltip', 'a hint');
  get(view, 'requestCurrentContextUpdate');
  await until(() => told(view, 'CurrentContext').length > 0);
  // From another process comes the empty one.
  equal(JSON.parse(get(view, 'currentContext')).url, process ? '' : `${server}there`);
  equal(JSON.parse(get(view, 'certificateInfo')).trusted, 0);
});

test('the port of the inspector is told while the page may be inspected', async () => {
  const view = await createView();
  native('webInspector.setEnabled', true);
  const port = native('webInspector.port');
  ok(Number(port) > 0, 'a port');
  await becomes(view, 'webInspectorPort', port);
  native('webInspector.setEnabledForWebView', view, false);
  await becomes(view, 'webInspectorPort', 0);
  native('webInspector.setEnabledForWebView', view, true);
  await becomes(view, 'webInspectorPort', port);
  native('webInspector.setEnabled', false);
  await becomes(view, 'webInspectorPort', 0);
  await until(() => told(view, 'WebInspectorPort').length === 4);
  equal(told(view, 'WebInspectorPort'), [port, '0', port, '0']);
});

test('files are chosen at once or later, or none', async () => {
  const view = await createView();
  await load(view, `<input type=file id=f>`);
  const file = `${query.get('folder')}/outside.txt`;
  for (const [answer, files, expected] of [[{ setFileChosen: file }, '', 'outside.txt'],
    [{ setWait: true }, file, 'outside.txt'], [{ setWait: true }, '', 'none']]) {
    answers.set('ChooseFile', answer);
    events.length = 0;
    get(view, 'executeJavaScript', `document.title = 'asking'; f.value = ''; f.click();
      f.onchange = () => { document.title = f.files[0].name; }; f.oncancel = () => { document.title = 'none'; }`);
    await until(() => happened(view, 'ChooseFile'));
    if (answer.setWait) get(view, 'chooseFileResponse', bodies(view, 'ChooseFile')[0].waitHandle, files);
    await becomes(view, 'title', expected);
  }
});

test('notifications end as the chrome says', async () => {
  const view = await createView();
  get(view, 'updateNotificationPermission', new URL(server).origin, true);
  for (const command of ['notificationClosed', 'notificationError']) {
    await loaded(view, 'loadURL', `${server}notify`);
    get(view, 'executeJavaScript', `Notification.requestPermission().then(() => {
      globalThis.n = new Notification('head'); n.onclose = () => { document.title = 'closed' }; })`);
    await until(() => happened(view, 'NotificationShow'));
    get(view, command, bodies(view, 'NotificationShow')[0].id);
    await becomes(view, 'title', 'closed');
  }
});

test('an origin that may not know where it is may ask once that is forgotten', async () => {
  const view = await createView();
  await loaded(view, 'loadURL', `${server}where`);
  const { origin } = new URL(server);
  // Each document asks anew; in one document the engine asks once.
  const ask = title => get(view, 'executeJavaScript',
    `navigator.geolocation.getCurrentPosition(() => {}, error => { document.title = '${title} ' + error.code; })`);
  get(view, 'updateGeolocationFilter', origin, false);
  ask('refused');
  await becomes(view, 'title', 'refused 1');
  equal(bodies(view, 'GeolocationPermissionRequest'), []);
  get(view, 'removeGeolocationFilter', origin);
  await loaded(view, 'reload');
  ask('again');
  await until(() => happened(view, 'GeolocationPermissionRequest'));
  get(view, 'setAllowGeolocation', origin, false);
  await becomes(view, 'title', 'again 1');
});

test('what the chrome says is heard', async () => {
  const view = await createView();
  for (const command of ['log', 'printToStderr']) {
    get(view, command, `${command} of view ${view}\n`);
    said(`${command} of view ${view}`);
  }
});

test('a movement is ended where it is', async () => {
  const view = await createView();
  await load(view, '<div style="height:100000px">tall</div>');
  const y = () => JSON.parse(get(view, 'scrollPosition')).y;
  get(view, 'animateToDocumentScrollPosition', '{"x":0,"y":90000}');
  await until(() => y() > 0, 'it moves');
  get(view, 'stopAnimatedScroll');
  // Positions are told with the frames: it stands when many looks in a row see the same.
  let last = -1;
  let same = 0;
  await until(() => {
    same = y() === last ? same + 1 : 0;
    last = y();
    return same > 80;
  }, 'it stands');
  ok(y() < 90000, `it went on to ${y()}`);
});

test('mistakes are told with the same texts wherever the web view lives', async () => {
  const view = await createView();
  const told = async texts => {
    await until(() => errors.length >= texts.length, String(texts));
    equal(errors.splice(0), texts);
  };
  const refused = (name, text) =>
    `Argument error when trying to call native function: "${name}" with argument "${text}" at position: 0`;
  equal(get(view, 'setExtraHttpHeaders', '{'), '0');
  await told(['WebView::setExtraHttpHeaders json parsing failed.']);
  answers.set('OpenWindow', { setAction: 'Create', setView: '4294967296' });
  get(view, 'executeJavaScript', 'window.open("about:blank"); 1');
  await told(['Create', '4294967296'].map(text => refused('jsonOnObject_OrvWebOpenWindowEvent', text)));
  get(view, 'setPopupWebView', '4294967297');
  await told([refused('setPopupWebView', '4294967297')]);
  equal(get(2 ** 32 + view, 'title'), '');
  await told([`WebView: ${2 ** 32 + view} has not been created yet, so the call to "title" will be ignored.`]);
  get(view, 'setUserAgent', 'agent/1');
  await becomes(view, 'userAgent', 'agent/1');
  get(view, 'setUserAgent', 'agent\n2');
  await told(['A user agent is refused: the text is not valid in a header.']);
  equal(get(view, 'userAgent'), 'agent/1');
  const lost = native('webview.create', 'no such group', process || 'InProcess');
  await told([`Web view ${lost} cannot be shown: there is no window group "no such group".`]);
  native('webview.delete', lost);
});

test('an empty text is a document, and any number names a process', async () => {
  for (const view of [await createView(), await createView('4000000000')]) {
    get(view, 'setViewport', '{"x":0,"y":0,"width":100,"height":100}');
    await loaded(view, 'loadString', '');
    await loaded(view, 'loadStringWithBase', '', 'https://example.org/', 'text/plain');
    ok(Number(get(view, 'jsScreenWindowHandle')) > 0, 'it has a window');
  }
});

test('names of hosts are shown as they are read, and a page ends', async () => {
  const view = await createView();
  equal(get(view, 'convertIDNtoReadableStringByLanguage', 'xn--bcher-kva.example', 'de'), 'bücher.example');
  equal(get(view, 'extraHttpHeaders'), '{}');
  equal(get(view, 'initialize', native('webview.applicationWindowGroup', 1), 0), '0');
  get(view, 'destroy');
  await until(() => happened(view, 'Destroyed'));
});

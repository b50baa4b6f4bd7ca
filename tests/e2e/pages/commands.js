// What commands do to real pages.
import { answers, bodies, createView, equal, events, get, happened, hasCookies, loaded, native, ok, process, query, script, server, test,
  title, until, value } from './suite.js';

const secure = query.get('secure');
const secret = query.get('folder');

const changed = (view, name) => happened(view, `Property${name}Event`);
const open = async html => {
  const view = await createView();
  get(view, 'setGeometry', 0, 0, 400, 300);
  await loaded(view, 'loadString', `<!doctype html><title></title><body>${html}`);
  return view;
};
test('every setting is kept, read back and reported, once', async () => {
  const view = await createView();
  const names = native('bindingManager.listBindings').split('\n').map(name => name.replace('webview.', ''));
  const setterOf = flag => flag === 'EnableWebInspector' ? 'setWebInspectorEnabled' : `set${flag}`;
  const flags = names.filter(name => /^is(?!A(ll|ny|ctive)|PropertyChanged|WebEvent)/.test(name)).map(name => name.slice(2))
    .filter(flag => names.includes(setterOf(flag)) && flag !== 'EnableDiskCache');
  ok(flags.length >= 30, `only ${flags.length} flags`);
  for (const flag of flags) {
    const before = get(view, `is${flag}`) === '1';
    for (const value of [!before, !before, before]) {
      get(view, setterOf(flag), value);
      equal([flag, get(view, `is${flag}`)], [flag, value ? '1' : '0']);
    }
  }
  const values = { DefaultFontSize: '20', MinimumFontSize: '9', JavaScriptInterruptTimeout: '7',
    BackgroundColor: '4278190335', OverScrollColor: '255', ViewportWidth: '320', ViewportHeight: '480',
    ViewportInitialScale: '1.5', ViewportMinimumScale: '0.5', ViewportMaximumScale: '3',
    ViewportTargetDensityDpi: '160', ViewportUserScalable: '0', DevicePixelRatio: '2',
    Sensitivity: 'SensitivityNoFocus', TextReflowMode: 'TextReflowEnabled', DefaultTextEncoding: 'utf-8',
    ForcedTextEncoding: 'utf-8', UserAgent: 'somebody', UserStyleSheetLocation: 'data:text/css,p{}' };
  for (const [name, text] of Object.entries(values)) {
    get(view, `set${name}`, text);
    equal([name, get(view, name[0].toLowerCase() + name.slice(1))], [name, text]);
  }
  get(view, 'setZOrder', 3);
  get(view, 'setGeometry', 1, 2, 300, 200);
  get(view, 'setExtraHttpHeaders', '{"X-A": "1"}');
  for (const name of [...flags, ...Object.keys(values), 'ZOrder', 'Viewport', 'CustomHTTPHeaders']) {
    await until(() => changed(view, name), `${name} told`);
  }
  for (const flag of flags) {
    equal([flag, events.filter(e => e.handle === view && e.name === `Property${flag}Event`).map(e => e.data).length],
      [flag, 2]);
  }
});

test('locked properties are held back and come once', async () => {
  const view = await createView();
  events.length = 0;
  get(view, 'lockProperties');
  for (const size of [20, 21, 22]) get(view, 'setDefaultFontSize', size);
  get(view, 'setVisible', false);
  get(view, 'unlockProperties');
  await until(() => changed(view, 'Visible'));
  equal(events.filter(e => e.handle === view && e.name !== 'PropertyChanged').map(e => [e.name, e.data]),
    [['PropertyDefaultFontSizeEvent', '22'], ['PropertyVisibleEvent', 'false']]);
});

test('the document is scrolled and zoomed', async () => {
  const view = await open('<div style="width:3000px;height:5000px">tall</div>');
  await until(() => JSON.parse(get(view, 'contentRectangle')).height >= 5000);
  get(view, 'setScrollPosition', '{"x":100,"y":200}');
  await until(() => get(view, 'scrollPosition') === '{"x":100,"y":200}');
  get(view, 'scrollBy', 10, -50);
  await until(() => get(view, 'scrollPosition') === '{"x":110,"y":150}');
  get(view, 'animateToDocumentScrollPosition', '{"x":0,"y":1000}');
  await until(() => get(view, 'scrollPosition') === '{"x":0,"y":1000}');
  get(view, 'startAnimatedScroll', '{"x":0,"y":-900}');
  await until(() => get(view, 'scrollPosition') === '{"x":0,"y":100}');
  // The content under the point keeps its position: 100 + 50 before, so 150 - 50 / 2 after.
  get(view, 'animateZoomBy', 2, '{"x":0,"y":50}');
  await until(() => get(view, 'scale') === '2' && get(view, 'scrollPosition') === '{"x":0,"y":125}');
  equal(await value(view, 'innerWidth'), '200');
  get(view, 'animateToScaleAndDocumentScrollPosition', 1, '{"x":5,"y":6}');
  await until(() => get(view, 'scale') === '1' && get(view, 'scrollPosition') === '{"x":5,"y":6}');
  get(view, 'bitmapZoom', 100, '{"x":0,"y":0}', '{"x":0,"y":0}');
  await until(() => get(view, 'scale') === get(view, 'maximumScale'));
  await until(() => changed(view, 'Scale') && changed(view, 'ScrollPosition') && changed(view, 'ContentRectangle'));
});

test('the focus is moved, and forms are sent', async () => {
  const view = await open('<form onsubmit="document.title = this.a.value; return false">'
    + '<input name="a" value="sent"><input name="b"><button>go</button></form>');
  const focused = () => value(view, 'document.activeElement.name || document.activeElement.tagName');
  for (const [command, expected] of [['focusNextField', 'a'], ['focusNextField', 'b'],
    ['focusPreviousField', 'a'], ['clearFocus', 'BODY']]) {
    get(view, command);
    equal([command, await focused()], [command, expected]);
  }
  get(view, 'assignFocus', 'FocusDirectionTop');
  equal(await focused(), 'a');
  await until(() => bodies(view, 'FormControlEvent').some(b => b.isNextActive && !b.isPreviousActive));
  get(view, 'submitForm');
  await until(() => title(view) === 'sent');
});

test('selections and carets are told', async () => {
  const view = await open('<p id="p">some words</p><textarea>text</textarea>');
  script(view, "getSelection().selectAllChildren(document.getElementById('p'))");
  await until(() => bodies(view, 'SelectionChanged').some(b => b.startWidth > 20));
  script(view, "document.querySelector('textarea').focus(); document.querySelector('textarea').setSelectionRange(1, 1)");
  await until(() => bodies(view, 'CaretChanged').some(b => b.rectHeight > 10));
  get(view, 'textHasAttribute', 'bold');
  await until(() => bodies(view, 'TextAttributeQuery').some(b => b.queryString === 'bold'));
  await until(() => happened(view, 'ContentRendered'));
});

test('a script of the chrome runs before those of the page', async () => {
  const view = await createView();
  answers.set('JavaScriptWindowObjectCleared', { setScript: 'window.early = 1' });
  await loaded(view, 'loadString', '<title></title><script>document.title = String(window.early)</script>');
  await until(() => title(view) === '1');
});

test('a history is gone along, cleared, saved and brought back', async () => {
  const view = await createView();
  for (const name of ['one', 'two', 'three']) {
    await loaded(view, 'loadURL', `${server}${name}`);
  }
  const urls = v => JSON.parse(get(v, 'getHistoryList')).map(item => item.url.slice(server.length));
  equal(urls(view), ['one', 'two', 'three']);
  await loaded(view, 'setHistoryPosition', 0);
  equal([get(view, 'historyPosition'), get(view, 'canGoBack'), get(view, 'canGoForward')], ['0', '0', '1']);
  get(view, 'requestSession');
  await until(() => happened(view, 'SessionInfo'));
  const session = bodies(view, 'SessionInfo')[0].data;
  await loaded(view, 'goForward');
  get(view, 'clearHistory');
  equal([urls(view), get(view, 'canGoBack'), get(view, 'canGoForward'), get(view, 'historyLength')],
    [['two'], '0', '0', '1']);
  await loaded(view, 'loadURL', `${server}four`);
  equal(urls(view), ['two', 'four']);
  const other = await createView();
  await loaded(other, 'restoreSession', session, 1);
  equal([urls(other), get(other, 'historyPosition')], [['one', 'two', 'three'], '1']);
  get(other, 'restoreSession', 'no session', 0);
  equal(get(other, 'historyLength'), '3');
});

test('cookies are set, told, sent and cleared', async () => {
  const view = await createView();
  get(view, 'setCookies', server, JSON.stringify(['a=1; path=/', '', 'b=2; path=/']));
  await hasCookies(view, ['a=1', 'b=2']);
  await loaded(view, 'loadURL', `${server}with`);
  await until(() => /Cookie: .*a=1/.test(title(view)));
  get(view, 'clearCookies');
  await hasCookies(view, []);
});

test('what pages store is cleared, and private pages leave nothing', async () => {
  const view = await createView();
  await loaded(view, 'loadURL', `${server}store`);
  await value(view, "localStorage.setItem('kept', 'yes')");
  const other = await createView();
  get(other, 'setPrivateBrowsing', true);
  await loaded(other, 'loadURL', `${server}private`);
  equal(await value(other, "String(localStorage.getItem('kept'))"), 'null');
  get(view, 'clearLocalStorage');
  await until(async () => await value(view, "String(localStorage.getItem('kept'))") === 'null', 'the storage is cleared');
  // Changed under a page, the page starts anew.
  await loaded(other, 'setPrivateBrowsing', false);
  equal(get(other, 'location'), `${server}private`);
  for (const command of ['clearCache', 'clearDatabases', 'notifySystemLowMemory']) get(view, command);
});

test('agent, style sheet, headers and files', async () => {
  const view = await createView();
  get(view, 'setUserAgent', 'Somebody/1.0');
  get(view, 'setExtraHttpHeaders', '{"X-From":"here","X-Two":2}');
  get(view, 'setUserStyleSheetLocation', 'data:text/css,body{color:rgb(1,2,3)}');
  await loaded(view, 'loadURL', `${server}all`);
  await until(() => title(view).includes('GET /all'));
  for (const header of ['User-Agent: Somebody/1.0', 'X-From: here', 'X-Two: 2']) ok(title(view).includes(header), header);
  equal(await value(view, 'getComputedStyle(document.body).color'), 'rgb(1, 2, 3)');
  get(view, 'setUserStyleSheetLocation', '');
  get(view, 'setScrolling', false);
  equal(await value(view, 'getComputedStyle(document.body).color + getComputedStyle(document.body).overflow'),
    'rgb(0, 0, 0)hidden');
  await loaded(view, 'loadFile', `${secret}/outside.txt`);
  equal(await value(view, 'document.body.innerText'), 'secret');
  equal(await value(view, 'typeof window.here'), 'undefined');
});

test('a page is drawn into a picture', async () => {
  const view = await open('<style>body{margin:0;background:rgb(255,0,0)}</style><div style="height:1000px"></div>');
  const picture = async (...args) => {
    const before = bodies(view, 'CaptureContents').length;
    get(view, 'captureContents', ...args);
    await until(() => bodies(view, 'CaptureContents').length > before);
    const image = new Image();
    image.src = `data:image/png;base64,${bodies(view, 'CaptureContents').at(-1).base64PNGImage}`;
    await image.decode();
    return image;
  };
  const none = '{"x":0,"y":0,"width":0,"height":0}';
  const whole = await picture(1, none, '{"width":0,"height":0}');
  equal([whole.width, whole.height], [400, 1000]);
  const canvas = document.createElement('canvas');
  const drawing = canvas.getContext('2d');
  drawing.drawImage(whole, 0, 0);
  equal([...drawing.getImageData(5, 5, 1, 1).data], [255, 0, 0, 255]);
  const part = await picture(0.5, '{"x":10,"y":20,"width":100,"height":60}', '{"width":0,"height":0}');
  equal([part.width, part.height], [50, 30]);
  const small = await picture(1, none, '{"width":100,"height":100}');
  equal([small.width, small.height], [40, 100]);
});

test('a certificate is accepted by one web view, refused by another, and no longer accepted', async () => {
  const view = await createView();
  const refused = () => bodies(view, 'SSLHandshakingFailed');
  native('webview.loadURL', view, secure);
  await until(() => refused().length === 1);
  const [{ connectionInfo, streamId }] = refused();
  equal(connectionInfo.host, '127.0.0.1');
  ok(connectionInfo.problems.length > 0, 'no problem told');
  get(view, 'continueSSLHandshaking', streamId, 'SSLActionTrust');
  await until(() => title(view).includes('GET /'));
  equal(get(view, 'secureType'), 'SecureFailed');
  const known = JSON.parse(get(view, 'knownSSLCertificates'));
  equal(Object.keys(known), ['127.0.0.1']);
  const info = JSON.parse(get(view, 'securityInfo'));
  equal([info.page.secured, info.certificates[0].subject.commonName], [true, 'pagehost test']);
  ok(JSON.parse(get(view, 'getSSLCertificateDetails', get(view, 'knownSSLCertificate', '127.0.0.1')))
    .some(line => line.startsWith('Issued to: ') && line.includes('CN=pagehost test')), 'details');
  // Another web view has not accepted it, and neither has this one any more.
  const other = await createView();
  native('webview.loadURL', other, secure);
  await until(() => happened(other, 'SSLHandshakingFailed'));
  get(other, 'continueSSLHandshaking', bodies(other, 'SSLHandshakingFailed')[0].streamId, 'SSLActionReject');
  await until(() => happened(other, 'DocumentLoadFailed'));
  equal(get(other, 'addKnownSSLCertificate', '127.0.0.1', 'no certificate'), '0');
  equal(get(other, 'addKnownSSLCertificates', JSON.stringify(known)), '1');
  native('webview.loadURL', other, secure);
  await until(() => title(other).includes('GET /'));
  events.length = 0;
  equal(get(view, 'removeKnownSSLCertificate', '127.0.0.1', JSON.stringify(known['127.0.0.1'])), '1');
  equal(get(view, 'removeKnownSSLCertificate', '127.0.0.1', ''), '0');
  native('webview.loadURL', view, secure);
  await until(() => refused().length === 1 && happened(view, 'DocumentLoadFailed'));
});

test('notifications are shown by the chrome', async () => {
  const view = await createView();
  answers.set('NotificationPermissionCheck', { setResult: 'granted' });
  await loaded(view, 'loadURL', `${server}notify`);
  script(view, "Notification.requestPermission().then(p => { document.title = p; "
    + "globalThis.n = new Notification('head', {body: 'text', tag: 't'}); n.onclick = () => { document.title = 'clicked'; n.close(); }; })");
  await until(() => happened(view, 'NotificationPermissionRequest') || happened(view, 'NotificationShow'));
  const [asked] = bodies(view, 'NotificationPermissionRequest');
  if (asked) get(view, 'setAllowNotification', asked.origin, true);
  await until(() => happened(view, 'NotificationShow'));
  const [shown] = bodies(view, 'NotificationShow');
  equal([shown.title, shown.body, shown.tag], ['head', 'text', 't']);
  get(view, 'notificationClicked', shown.id);
  await until(() => title(view) === 'clicked');
  await until(() => happened(view, 'NotificationCancel'));
  // A decision that is remembered is not asked for again.
  get(view, 'updateNotificationPermission', new URL(server).origin, false);
  events.length = 0;
  script(view, "Notification.requestPermission().then(p => { document.title = `now ${p}`; })");
  await until(() => title(view) === 'now denied');
  equal(bodies(view, 'NotificationPermissionRequest'), []);
  get(view, 'updateGeolocationFilter', server, false);
  get(view, 'automationLog', 'a line');
  await until(() => bodies(view, 'AutomationLog').some(b => b.message === 'a line'));
  await until(() => bodies(view, 'UpdateGeolocationFilter').some(b => b.mask === server && !b.allow));
});

// Each process has functions of its own: a child's know no window of the program.
test('a page may be let at the native functions of its process', async () => {
  const view = await createView();
  get(view, 'setJSWebViewBindings', true);
  await loaded(view, 'loadString', `<title></title><script>
    const all = orv.callNative('bindingManager.listBindings').split('\\n');
    document.title = [all.includes('webview.loadURL'), all.includes('applicationWindow.setSize')];
    <\/script>`);
  await until(() => title(view) !== '');
  equal(title(view), `true,${!process}`);
});

test('a page that never stops scripting is asked and ended', async () => {
  const view = await open('<script>setTimeout(() => { document.title = "busy"; setTimeout(() => { for (;;); }, 0); }, 0)</script>');
  await until(() => title(view) === 'busy');
  for (let i = 0; i < 200; ++i) {
    script(view, 'document.title = "done"');
    equal(title(view), 'busy');
    equal(get(view, 'isVisible'), '1');
    get(view, 'scrollPosition');
  }
});

// What pages cause, and what the chrome answers.
import { answers, bodies, createView, equal, errors, events, happened, loaded, native, ok, process, query, script, server,
  test, title, until, value } from './suite.js';

// A web view with that page, loaded; one of the program's if it shall lead to others of those.
async function open(html, ...base) {
  const view = await createView();
  await loaded(view, base.length ? 'loadStringWithBase' : 'loadString',
    `<!doctype html><title></title><body>${html}`, ...base);
  return view;
}

test('a load tells its way in order', async () => {
  const view = await createView();
  await loaded(view, 'loadURL', 'local:///content.html');
  await until(() => happened(view, 'DocumentLoaded'));
  const names = events.map(e => e.name).filter(n => !n.startsWith('Property') && n !== 'Focus');
  const order = ['LocationChanging', 'LocationChange', 'DocumentLoadCommitted', 'DocumentLoadFinished'];
  equal(names.filter(n => order.includes(n)), order);
  equal(bodies(view, 'LocationChange')[0].url, 'local:///content.html');
  // The engine reports the title at any time.
  const property = name => events.filter(e => e.name === `Property${name}Event`).at(-1)?.data;
  await until(() => property('Title') === 'A real page' && property('LoadProgress') === '100');
  equal(property('Location'), 'local:///content.html');
  await until(() => bodies(view, 'PropertyChanged').some(b => b.property === 'Title'));
  script(view, "history.pushState({}, '', '#there')");
  await until(() => bodies(view, 'LocationChange').length === 2);
  equal(bodies(view, 'LocationChange')[1].url, 'local:///content.html#there');
});

test('the chrome decides where a page goes', async () => {
  const view = await open('<a id="a" href="local:///content.html">go</a>', 'local:///');
  answers.set('LocationChanging', { setPreventDefault: true });
  script(view, "document.getElementById('a').click()");
  await until(() => bodies(view, 'LocationChanging').some(b => b.url === 'local:///content.html'));
  equal(bodies(view, 'LocationChanging').at(-1).navigationType, 'LinkClicked');
  answers.clear();
  script(view, "document.title = 'still here'");
  await until(() => title(view) === 'still here');
  script(view, "document.getElementById('a').click()");
  await until(() => title(view) === 'A real page');
});

test('a scheme that nobody knows is offered to the chrome', async () => {
  const view = await open('');
  script(view, "location.href = 'mailto:somebody@example.org'");
  await until(() => happened(view, 'InvokeRequestEvent') && happened(view, 'UnknownProtocol'));
  equal(bodies(view, 'UnknownProtocol')[0].scheme, 'mailto');
  answers.set('UnknownProtocol', { setProtocolHandlerURL: 'local:///content.html' });
  script(view, "location.href = 'odd:thing'");
  await until(() => title(view) === 'A real page');
});

test('a load that fails is told, and shown by whoever wants to', async () => {
  const view = await createView();
  native('webview.loadURL', view, 'http://127.0.0.1:1024/');
  await until(() => happened(view, 'DocumentLoadFailed') && happened(view, 'NetworkError'));
  const [failure] = bodies(view, 'NetworkError');
  equal(failure.url, 'http://127.0.0.1:1024/');
  ok(failure.message, 'no message');
});

test('scripts bring results, and exceptions are told', async () => {
  const view = await open('<script>window.twice = x => x * 2;</script>');
  const ids = ['6 * 7', '"text"', 'null', 'throw new Error("on purpose")'].map(s => script(view, s));
  await until(() => bodies(view, 'JavaScriptResult').length === 4);
  const result = id => bodies(view, 'JavaScriptResult').find(b => b.resultId === id);
  equal([result(ids[0]).resultType, result(ids[0]).resultString], ['JSNumber', '42']);
  equal([result(ids[1]).resultType, result(ids[1]).resultString], ['JSString', 'text']);
  equal(result(ids[2]).resultType, 'JSNull');
  equal(result(ids[3]).resultType, 'JSException');
  const id = native('webview.executeJavaScriptFunction', view, '["twice"]', '[21]');
  await until(() => happened(view, 'JavaScriptFunctionResult'));
  const [answer] = bodies(view, 'JavaScriptFunctionResult');
  equal([answer.resultId, answer.result], [id, 42]);
  script(view, 'setTimeout(() => { thrown.byNobody; })');
  await until(() => bodies(view, 'JavaScriptException').some(b => b.exception.includes('thrown')));
  script(view, 'window.here = 1');
  equal(await value(view, 'typeof here', 'IsolatedWorld'), 'undefined');
});

test('dialogs are answered at once or later', async () => {
  const view = await open('');
  answers.set('DialogRequested', body => body.dialogType === 'JavaScriptPrompt'
    ? { setResult: `${body.message}:${body.result}` } : { setWait: true });
  script(view, "document.title = prompt('name', 'nobody')");
  await until(() => title(view) === 'name:nobody');
  script(view, "document.title = String(confirm('sure?'))");
  await until(() => bodies(view, 'DialogRequested').length === 2);
  const asked = bodies(view, 'DialogRequested')[1];
  equal([asked.dialogType, asked.message], ['JavaScriptConfirm', 'sure?']);
  native('webview.dialogResponse', view, asked.waitHandle, true, '', '', '');
  await until(() => title(view) === 'true');
  script(view, "alert('read this'); document.title = 'read'");
  await until(() => bodies(view, 'DialogRequested').length === 3);
  native('webview.dialogResponse', view, bodies(view, 'DialogRequested')[2].waitHandle, true, '', '', '');
  await until(() => title(view) === 'read');
  // Answered while it is asked.
  answers.set('DialogRequested', body => {
    native('webview.dialogResponse', view, body.waitHandle, true, '', '', '');
    return { setWait: true };
  });
  script(view, "document.title = String(confirm('now?'))");
  await until(() => title(view) === 'true');
});

test('a window that a page opens gets the web view that the chrome prepares', async () => {
  const view = await open('', 'local:///');
  answers.set('OpenWindow', { setWait: true });
  script(view, "document.title = String(!!window.open('local:///content.html', 'name'))");
  await until(() => happened(view, 'OpenWindow'));
  const [opened] = bodies(view, 'OpenWindow');
  const popup = await createView();
  native('webview.openWindowResponse', view, opened.waitHandle, popup);
  await until(() => title(popup) === 'A real page');
  await until(() => title(view) === 'true');
  answers.set('OpenWindow', { setAction: 'DISCARD' });
  script(view, "document.title = String(window.open('local:///content.html'))");
  await until(() => title(view) === 'null');
  // One that was prepared beforehand.
  const ready = await createView();
  native('webview.setPopupWebView', view, ready);
  answers.clear();
  script(view, "document.title = String(!!window.open('local:///content.html'))");
  await until(() => title(ready) === 'A real page');
  script(popup, 'window.close()');
  await until(() => happened(popup, 'CloseWindow'));
  for (const handle of [popup, ready]) native('webview.delete', handle);
  // A web view of another process is none that a page could have as its window.
  if (process) {
    const stranger = await createView('InProcess');
    native('webview.setPopupWebView', view, stranger);
    script(view, "document.title = `prepared ${window.open('local:///content.html')}`");
    await until(() => title(view) === 'prepared null');
    answers.set('OpenWindow', { setWait: true });
    const before = bodies(view, 'OpenWindow').length;
    script(view, "document.title = `answered ${window.open('local:///content.html')}`");
    await until(() => bodies(view, 'OpenWindow').length > before);
    native('webview.openWindowResponse', view, bodies(view, 'OpenWindow').at(-1).waitHandle, stranger);
    await until(() => title(view) === 'answered null');
  }
});

test('a text is found as often as it is there', async () => {
  const view = await open('<p>one two one</p><p>One</p>');
  native('webview.findString', view, 'one');
  await until(() => happened(view, 'FindString'));
  const last = () => bodies(view, 'FindString').at(-1);
  equal([last().isMatched, last().numMatches, last().currentIndex], [true, 3, 0]);
  native('webview.findString', view, 'one', true);
  await until(() => bodies(view, 'FindString').length === 2);
  equal(last().currentIndex, 1);
  // In another document the same text is looked for anew.
  await loaded(view, 'loadString', '<!doctype html><body><p>one two</p><p>One</p>');
  native('webview.findString', view, 'one', true);
  await until(() => happened(view, 'FindString'));
  equal([last().isMatched, last().numMatches, last().currentIndex], [true, 2, 0]);
  // Asked at once, each is answered under its own text.
  for (const text of ['o', 'on', 'absent']) native('webview.findString', view, text);
  await until(() => !last().isMatched);
  equal(bodies(view, 'FindString').slice(-3).map(({ text, numMatches, caseSensitive }) => [text, numMatches, caseSensitive]), [['o', 3, false], ['on', 2, false], ['absent', 0, false]]);
});

test('a page prints only what the chrome lets it', async () => {
  const view = await open('<p>paper</p>');
  answers.set('DialogRequested', ({ dialogType }) => (dialogType === 'Print' ? { setPreventDefault: true } : undefined));
  native('webview.executeJavaScript', view, 'print(); document.title = "went on"');
  await until(() => happened(view, 'DialogRequested') && title(view) === 'went on');
  equal(bodies(view, 'DialogRequested').at(-1).dialogType, 'Print');
});

test('a download is saved where the chrome says, discarded, or decided later', async () => {
  const view = await open('');
  answers.set('DownloadRequest', body => {
    const count = bodies(view, 'DownloadRequest').length;
    if (count === 1) return { setAction: 'ActionSave', setFilename: `${query.get('folder')}/saved.bin` };
    return { setAction: count === 2 ? 'ActionDiscard' : 'ActionPending' };
  });
  const finished = () => bodies(view, 'DownloadFinished');
  native('webview.loadURL', view, `${server}file`);
  await until(() => finished().length === 1);
  const [request] = bodies(view, 'DownloadRequest');
  equal([request.filename, request.url], ['named.bin', `${server}file`]);
  equal(finished()[0].downloadResult, 'ResultSuccess');
  equal(bodies(view, 'DownloadProgress').at(-1).downloadedSize, 100000);
  native('webview.loadURL', view, `${server}file`);
  await until(() => finished().length === 2);
  equal(finished()[1].downloadResult, 'ResultCancelled');
  native('webview.loadURL', view, `${server}file`);
  await until(() => bodies(view, 'DownloadRequest').length === 3);
  native('webview.downloadUpdate', view, bodies(view, 'DownloadRequest')[2].downloadId, 'ActionSave',
    `${query.get('folder')}/later.bin`);
  await until(() => finished().length === 3);
  equal(finished()[2].downloadResult, 'ResultSuccess');
});

test('notifications are asked for and refused', async () => {
  const view = await createView();
  await loaded(view, 'loadURL', 'local:///content.html');
  script(view, "Notification.requestPermission().then(state => { document.title = state; })");
  await until(() => happened(view, 'NotificationPermissionRequest'));
  native('webview.setAllowNotification', view, bodies(view, 'NotificationPermissionRequest')[0].origin, false);
  await until(() => title(view) === 'denied');
});

test('full screen is asked for, entered and left', async () => {
  const view = await open('<p id="p">large');
  answers.set('FullScreenEntering', { setPreventDefault: true });
  script(view, "document.getElementById('p').requestFullscreen()");
  await until(() => happened(view, 'FullScreenEntering'));
  equal(bodies(view, 'FullScreenEnter'), []);
  // Not asked for again before the page has left it altogether.
  script(view, "document.exitFullscreen().then(() => { document.title = 'left'; })");
  await until(() => happened(view, 'FullScreenExit') && title(view) === 'left');
  answers.clear();
  script(view, "document.getElementById('p').requestFullscreen()");
  await until(() => happened(view, 'FullScreenEnter'));
  script(view, 'document.exitFullscreen()');
  await until(() => bodies(view, 'FullScreenExit').length === 2);
  native('webview.delete', view);
  // Nor does a view that goes while it is in full screen take the program with it.
  const other = await open('<p id="p">large');
  script(other, "document.getElementById('p').requestFullscreen()");
  await until(() => happened(other, 'FullScreenEnter'));
  native('webview.delete', other);
});

test('answers that are no answers change nothing', async () => {
  const view = await createView();
  for (const answer of ['', '   ', 'true', '{', '[1]', '{"setPreventDefault":1}',
    '['.repeat(100000), `{"deep":${'['.repeat(100000)}${']'.repeat(100000)},"setModal":true}`,
    `{"long":"${'x'.repeat(10 << 20)}"}`]) {
    answers.set('any event', answer);
    await loaded(view, 'loadURL', 'local:///content.html');
  }
  equal(errors, []);
});

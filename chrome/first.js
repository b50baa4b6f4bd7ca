// Runs before everything else. Not a module: browsers refuse to load modules from file: addresses, and
// the host deletes the web views of a chrome that has ended when the next one has not asked for them soon.
if (!window.orv) document.documentElement.classList.add('unhosted');
else window.leftWebViews = window.orv.callNative('webview.list');

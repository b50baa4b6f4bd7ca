// The pages of bench/soak-pages, on a port of the loopback interface that it prints. /page/N is page N
// of `kinds`; what pages load besides stands below /part/.
import { createServer } from 'node:http';

const html = (body, head = '') => `<!doctype html><meta charset="utf-8"><title>soak</title>${head}${body}`;
const script = text => `<script>${text}</` + 'script>';
const repeat = (count, make) => Array.from({ length: count }, (_, i) => make(i)).join('');

// A text, or a function that answers by itself.
const kinds = [
  html('<p>plain'),
  html(repeat(2000, i => `<p style="color:hsl(${i},60%,40%)">paragraph ${i} `)),
  html(repeat(20, i => `<iframe src="/page/${i % 5}"></iframe>`)),
  html('<iframe srcdoc="<iframe srcdoc=\'<p>deep\'></iframe>"></iframe>'),
  html('', script('const w = new Worker("/part/worker.js"); w.onmessage = e => w.postMessage(e.data + 1); w.postMessage(0)')),
  html('', script('for (let i = 0; i < 8; ++i) new Worker("/part/busy.js")')),
  html('', script('navigator.serviceWorker?.register("/part/service.js", { scope: "/part/" })')),
  html('', script('fetch("/part/stream").then(async r => { for await (const c of r.body) document.title = c.length })')),
  html('', script('new EventSource("/part/events").onmessage = e => { document.title = e.data }')),
  html('', script('for (let i = 0; i < 200; ++i) fetch("/part/echo?" + i)')),
  html('<canvas width=2000 height=2000></canvas>', script('onload = () => { const c = document.querySelector("canvas").getContext("2d"); setInterval(() => { c.fillStyle = "#" + Math.random().toString(16).slice(2, 8); c.fillRect(Math.random() * 2000, Math.random() * 2000, 300, 300) }, 10) }')),
  html('<canvas></canvas>', script('onload = () => { const g = document.querySelector("canvas").getContext("webgl"); if (g) setInterval(() => { g.clearColor(Math.random(), 0, 0, 1); g.clear(g.COLOR_BUFFER_BIT) }, 20) }')),
  html('<audio src="/part/tone.wav" autoplay loop controls></audio>'),
  html('<video src="/part/broken.mp4" autoplay controls></video>'),
  html('<form action="/part/echo" method=post><input name=a value=1><textarea name=b>text</textarea><select name=c><option>x</select></form>', script('setTimeout(() => document.forms[0].submit(), 500)')),
  html('<form><input name=user><input type=password name=p autofocus></form>'),
  html('', script('for (let i = 0; i < 200; ++i) localStorage["k" + i] = "v".repeat(1000)')),
  html('', script('const o = indexedDB.open("d", 1); o.onupgradeneeded = () => o.result.createObjectStore("s"); o.onsuccess = () => { const t = o.result.transaction("s", "readwrite").objectStore("s"); for (let i = 0; i < 500; ++i) t.put({ i }, i) }')),
  html('', script('document.cookie = "a=" + Date.now(); caches.open("c").then(c => c.add("/part/echo"))')),
  html('', script('for (;;);')),
  html('', script('onload = () => { for (const end = Date.now() + 5000; Date.now() < end;); }')),
  html('', script('setInterval(() => { for (const end = Date.now() + 90; Date.now() < end;); }, 100)')),
  html('', script('location.reload()')),
  html('', script('setTimeout(() => { location.href = "/page/" + Math.floor(Math.random() * 5) }, 300)')),
  html('', script('for (let i = 0; i < 50; ++i) history.pushState(i, "", "?" + i)')),
  html('', script('history.back()')),
  html('', script('alert("hello"); confirm("sure?"); prompt("name?")')),
  html('', script('onbeforeunload = e => { e.preventDefault(); return "stay" }')),
  html('', script('for (let i = 0; i < 5; ++i) window.open("/page/0")')),
  html('', script('setTimeout(() => window.close(), 200)')),
  html('', script('Notification.requestPermission().then(() => new Notification("hi"))')),
  html('', script('navigator.geolocation?.getCurrentPosition(() => {}, () => {})')),
  html('', script('navigator.mediaDevices?.getUserMedia({ audio: true, video: true }).catch(() => {})')),
  html('<p>full', script('document.documentElement.requestFullscreen?.().catch(() => {})')),
  html('', script('throw new Error("thrown")')),
  html('', script('setInterval(() => { undefinedFunction() }, 5)')),
  html('', script('console.log("x".repeat(100000)); for (let i = 0; i < 500; ++i) console.error(i)')),
  html('<div>' + '<div>'.repeat(2000) + 'deep'),
  html(repeat(200, i => `<img src="/part/picture?${i}" width=20>`)),
  html('<img src="/part/picture?large" width=3000>', '<style>@font-face{font-family:x;src:url(/part/broken.ttf)}body{font-family:x}</style>'),
  html('<marquee>moves</marquee>', '<style>@keyframes k{to{transform:rotate(1turn)}}div{animation:k 1s infinite;width:50px;height:50px;background:red}</style>' + repeat(100, () => '<div></div>')),
  html('<p contenteditable autofocus>edit</p>', script('setInterval(() => document.execCommand("insertText", false, "x"), 50)')),
  html('', script('const a = []; setInterval(() => { a.push(new Uint8Array(1 << 20)); if (a.length > 60) a.length = 0 }, 20)')),
  html('<object data="/page/0"></object><embed src="/part/broken.bin">'),
  // What servers do.
  (request, response) => response.writeHead(302, { Location: request.url }).end(),
  (request, response) => response.writeHead(200, { 'Content-Type': 'text/html', 'Content-Length': 5000 }).write('<p>half', () => setTimeout(() => response.destroy(), 300)),
  (request, response) => { response.socket.end('no protocol at all\r\n\r\n'); },
  (request, response) => { response.writeHead(200, { 'Content-Type': 'text/html' }); response.write('<p>slow'); setTimeout(() => response.end('<p>end'), 8000); },
  (request, response) => response.writeHead(200, { 'Content-Type': 'application/x-unknown' }).end('x'.repeat(1000)),
  (request, response) => response.writeHead(500, { 'Content-Type': 'text/html; charset=nonsense' }).end(Buffer.from(Array.from({ length: 20000 }, (_, i) => (i * 7919) % 256))),
];

const parts = {
  'worker.js': ['text/javascript', 'onmessage = e => setTimeout(() => postMessage(e.data), 20)'],
  'busy.js': ['text/javascript', 'setInterval(() => { for (const end = Date.now() + 20; Date.now() < end;); }, 100)'],
  'service.js': ['text/javascript', 'onfetch = e => e.respondWith(fetch(e.request))'],
  echo: ['text/html', html('<p>echo')],
  'broken.mp4': ['video/mp4', 'not a video'],
  'broken.ttf': ['font/ttf', 'not a font'],
  'broken.bin': ['application/octet-stream', 'nothing'],
  picture: ['image/svg+xml', '<svg xmlns="http://www.w3.org/2000/svg" width="50" height="50"><circle cx="25" cy="25" r="20" fill="teal"/></svg>'],
};

// A second of a tone: 16-bit samples, one channel.
function tone() {
  const samples = 8000;
  const wave = Buffer.alloc(44 + samples * 2);
  wave.write('RIFF', 0);
  wave.writeUInt32LE(36 + samples * 2, 4);
  wave.write('WAVEfmt ', 8);
  [[16, 16, 4], [1, 20, 2], [1, 22, 2], [8000, 24, 4], [16000, 28, 4], [2, 32, 2], [16, 34, 2]]
    .forEach(([value, at, size]) => wave.writeUIntLE(value, at, size));
  wave.write('data', 36);
  wave.writeUInt32LE(samples * 2, 40);
  for (let i = 0; i < samples; ++i) wave.writeInt16LE(Math.round(3000 * Math.sin(i / 3)), 44 + i * 2);
  return wave;
}
parts['tone.wav'] = ['audio/wav', tone()];

// Sends data at intervals until the client disconnects, for a minute at most.
function drip(response, type, piece) {
  response.writeHead(200, { 'Content-Type': type });
  let left = 300;
  const timer = setInterval(() => {
    if (response.destroyed || --left === 0) {
      clearInterval(timer);
      response.end();
    } else {
      response.write(piece);
    }
  }, 200);
}

const server = createServer((request, response) => {
  const { pathname } = new URL(request.url, 'http://localhost');
  const [, folder, name] = pathname.split('/');
  if (folder === 'part' && name === 'stream') return drip(response, 'application/octet-stream', 'x'.repeat(4000));
  if (folder === 'part' && name === 'events') return drip(response, 'text/event-stream', 'data: tick\n\n');
  if (folder === 'part' && parts[name]) {
    return response.writeHead(200, { 'Content-Type': parts[name][0] }).end(parts[name][1]);
  }
  const page = folder === 'page' && kinds[Number(name)];
  if (!page) return response.writeHead(404, { 'Content-Type': 'text/html' }).end(html('<p>not found'));
  if (typeof page === 'function') return page(request, response);
  return response.writeHead(200, { 'Content-Type': 'text/html; charset=utf-8' }).end(page);
});
server.on('clientError', (error, socket) => socket.destroy());
server.listen(0, '127.0.0.1', () => console.log(server.address().port));

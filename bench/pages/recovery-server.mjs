// The page of bench/recovery-time, on a port of the loopback interface that it prints. When the page has
// been painted, it asks for /painted, and the time of that, in milliseconds, is printed.
import { createServer } from 'node:http';

const page = `<!doctype html><meta charset="utf-8"><title>painted</title><h1>Painted</h1><script>
requestAnimationFrame(() => requestAnimationFrame(() => fetch('/painted')))</script>`;
const server = createServer((request, response) => {
  if (request.url === '/painted') console.log(Date.now());
  response.writeHead(200, { 'Content-Type': 'text/html', 'Cache-Control': 'no-store' }).end(page);
});
server.listen(0, '127.0.0.1', () => console.log(server.address().port));

// The chrome in the real program, driven by WebDriver.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import test, { after, before } from 'node:test';

const PORT = 4000 + (process.pid % 1000);
const folder = new URL('..', import.meta.url).pathname;
const scratch = mkdtempSync(join(tmpdir(), '@NAME@-'));
let driver;
let session;

async function ask(method, path, body) {
  const response = await fetch(`http://127.0.0.1:${PORT}${path}`, { method, body: body && JSON.stringify(body) });
  const { value } = await response.json();
  if (!response.ok) throw new Error(`${path}: ${value.message}`);
  return value;
}

/** Runs in the chrome's page, until what it returns is true. */
async function becomesTrue(script, seconds = 20) {
  for (const end = Date.now() + 1000 * seconds; ; await new Promise((resolve) => { setTimeout(resolve, 100); })) {
    if (await ask('POST', `${session}/execute/sync`, { script: `return Boolean(${script})`, args: [] })) return;
    if (Date.now() > end) assert.fail(`It does not become true: ${script}`);
  }
}

before(async () => {
  driver = spawn('WebKitWebDriver', [`--port=${PORT}`], { stdio: 'inherit', env: { ...process.env, XDG_DATA_HOME: scratch, XDG_CACHE_HOME: scratch } });
  const capabilities = { alwaysMatch: { 'webkitgtk:browserOptions': {
    binary: process.env.PAGEHOST ?? '/usr/bin/pagehost',
    args: ['--automation=chrome', '--chrome', folder],
  } } };
  for (let tries = 0; !session; ++tries) {
    try {
      session = `/session/${(await ask('POST', '/session', { capabilities })).sessionId}`;
    } catch (error) {
      // The driver has not begun to listen.
      if (error.cause?.code !== 'ECONNREFUSED' || tries > 50) throw error;
      await new Promise((resolve) => { setTimeout(resolve, 100); });
    }
  }
});

after(async () => {
  if (session) await ask('DELETE', session).catch(() => {});
  driver?.kill();
  rmSync(scratch, { recursive: true, force: true });
});

test('it shows its page', () => becomesTrue('document.documentElement.dataset.state === "shown"'));

/** As large as the element that has room for it, but for what rounding makes of it. */
const IS_PLACED = `(() => {
  const { left, top, width, height } = (document.querySelector('.page') ?? document.querySelector('main')).getBoundingClientRect();
  return JSON.parse(orv.callNative('webview.list')).some((view) => {
    const there = JSON.parse(orv.callNative('webview.viewport', view));
    return [[there.x, left], [there.y, top], [there.width, width], [there.height, height]].every(([is, wanted]) => Math.abs(is - wanted) <= 1);
  });
})()`;

test('its web view is where it belongs', () => becomesTrue(IS_PLACED));

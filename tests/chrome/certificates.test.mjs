import assert from 'node:assert/strict';
import test from 'node:test';
import { KnownCertificates, placeBefore } from '../../chrome/certificates.js';
import { fakeTab, fakeTabs } from './fakes.mjs';

function openTab(tabs) {
  let known = {};
  const tab = fakeTab();
  Object.assign(tab.view, {
    knownSSLCertificates: () => JSON.stringify(known),
    addKnownSSLCertificates: (text) => { known = { ...known, ...JSON.parse(text) }; },
    addKnownSSLCertificate: (host, text) => { known[host] = JSON.parse(text); },
    removeKnownSSLCertificate: (host) => delete known[host],
    continueSSLHandshaking(...args) {
      tab.calls.push(args);
      known.host = { host: 'host' };
    },
  });
  return tabs.open(tab);
}

test('a certificate is accepted, and taken back, for the tabs of now and of later', () => {
  const tabs = fakeTabs();
  const known = new KnownCertificates(tabs);
  const [first, second] = [openTab(tabs), openTab(tabs)];
  known.accept(first.view, 9, { host: 'host' });
  assert.deepEqual(first.calls, [[9, 'SSLActionTrust']]);
  assert.deepEqual(second.calls, []);
  const hosts = () => tabs.list.map(({ view }) => Object.keys(JSON.parse(view.knownSSLCertificates())).join());
  openTab(tabs);
  assert.deepEqual(hosts(), ['host', 'host', 'host']);
  known.remove('host');
  assert.deepEqual(hosts(), ['', '', '']);
  openTab(tabs);
  assert.deepEqual(known.all, {});
});

test('the way back from a refused page passes by all that it left', () => {
  const urls = (...list) => list.map((url) => ({ url }));
  for (const [history, position, at] of [
    [urls('a'), 0, 0],
    [urls('a', 'about:blank'), 1, 0],
    [urls('a', 'bad', 'bad', 'c'), 2, 0],
    [urls('bad'), 0, -1],
    [[], -1, -1],
  ]) assert.equal(placeBefore(history, position, 'bad'), at, JSON.stringify(history));
});

import { FADE, SLIDES } from './config.js';
import { animate, WebView } from 'pagehost:pagehost.js';

/** Milliseconds: how long a slide may take to load, and the pause when there is none. */
const PATIENCE = 15_000;
const PAUSE = 5_000;

const sleep = (milliseconds) => new Promise((resolve) => { setTimeout(resolve, milliseconds); });
const after = (milliseconds, text) => sleep(milliseconds).then(() => { throw new Error(text); });

/** @returns {Promise<WebView>} with the page, not shown yet; rejected when the page is not there */
async function prepare(url) {
  const view = WebView.create();
  view.setVisible(false);
  view.setGeometry(0, 0, innerWidth, innerHeight);
  // A process that ends while its slide is shown leaves the chrome's own background.
  view.onProcessEnd(() => { view.setVisible(false); return { setPreventDefault: true }; });
  try {
    await Promise.race([view.load(url), after(PATIENCE, 'it takes too long')]);
    return view;
  } catch (error) {
    view.delete();
    throw error;
  }
}

/** Fades one slide in over the other, which goes then; if that cannot be, the other stays. */
async function change(from, to, height) {
  try {
    to.setZOrder(height);
    const faded = animate({ curve: 'EaseOutCurve', duration: FADE }, [{ view: to, from: [0], to: [255] }]);
    to.setVisible(true);
    await faded;
  } catch (error) {
    to.delete();
    throw error;
  }
  from?.delete();
}

function say(problem) {
  document.getElementById('notice').textContent = problem;
  document.documentElement.dataset.state = problem ? 'waiting' : 'shown';
}

async function run() {
  let shown;
  let failed = 0;
  for (let i = 0; ; i = (i + 1) % SLIDES.length) {
    const { url, seconds } = SLIDES[i];
    try {
      // While the last one is still there.
      const next = await prepare(url);
      await change(shown, next, 1 + i);
      shown = next;
      failed = 0;
      say('');
      await sleep(1000 * seconds);
    } catch (error) {
      console.error(`${url} is left out: ${error.message}`);
      if (++failed % SLIDES.length) continue;
      if (!shown) say('There is nothing to show just now.');
      await sleep(PAUSE);
    }
  }
}

// Those of this chrome before it was loaded again.
for (const view of WebView.list()) view.delete();
window.addEventListener('resize', () => {
  for (const view of WebView.list()) view.setGeometry(0, 0, innerWidth, innerHeight);
});
run();

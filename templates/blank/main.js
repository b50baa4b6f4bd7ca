import { KeptPage } from './keep.js';
import { WebView } from 'pagehost:pagehost.js';

const PAGE = new URL('pages/welcome.html', document.baseURI).href;

/** @returns {any} */
const $ = (id) => document.getElementById(id);

const page = new KeptPage(PAGE, {
  view: WebView.list()[0],
  changed(problem) {
    $('notice').textContent = problem && `${problem} It is tried again.`;
    document.documentElement.dataset.state = problem ? 'waiting' : 'shown';
  },
});
page.view.onProperty('Title', (title) => { $('title').textContent = title; });
new ResizeObserver(() => page.place($('page'))).observe($('page'));

/** All the panels beside the page. */

import { AnimationsPanel } from './animations-panel.js';
import { Blocker } from './blocker.js';
import { BlockerPanel } from './blocker-panel.js';
import { BookmarksPanel } from './bookmarks-panel.js';
import { DownloadsPanel } from './downloads.js';
import { ExamplesPanel } from './examples-panel.js';
import { FunctionsPanel } from './functions-panel.js';
import { HistoryPanel } from './history-panel.js';
import { InspectorPanel } from './inspector-panel.js';
import { LoginsPanel } from './logins-panel.js';
import { MenuPanel } from './menu-panel.js';
import { NewTabPanel } from './new-tab-panel.js';
import { PageInfoPanel } from './page-info.js';
import { WebView } from './pagehost.js';
import { PanelPlace } from './panel.js';
import { PermissionsPanel } from './permissions-panel.js';
import { ObjectsPanel } from './pps-panel.js';
import { PlatformPanel } from './platform-panel.js';
import { ScreenshotPanel } from './screenshot-panel.js';
import { SettingsPanel } from './settings-panel.js';
import { SiteDataPanel } from './site-data-panel.js';
import { VisitedPanel } from './visited-panel.js';
import { t } from './words.js';

const $ = (id) => document.getElementById(id);

/** @returns {{panels: object, addMenu: (commands: object) => void}} the panels; the menu, whose commands need them, comes last */
export function makePanels({ tabs, store, platform, settings, preferences, known, permissions, downloads, visited, bookmarks, openPage, openNewTab }) {
  const panels = {
    functions: new FunctionsPanel(() => tabs.active?.view?.handle ?? WebView.root.handle),
    downloads: new DownloadsPanel($('downloads'), downloads),
    pageInfo: new PageInfoPanel(tabs, known),
    settings: new SettingsPanel(tabs, settings, preferences),
    history: new HistoryPanel(tabs),
    visited: new VisitedPanel(visited, openPage),
    bookmarks: new BookmarksPanel(bookmarks, openPage),
    inspector: new InspectorPanel(tabs),
    logins: new LoginsPanel(),
    newTab: new NewTabPanel(tabs, openNewTab),
    screenshot: new ScreenshotPanel(tabs, downloads),
    siteData: new SiteDataPanel(tabs, store),
    permissions: new PermissionsPanel(tabs, permissions),
    blocker: new BlockerPanel(tabs, new Blocker(tabs, store), $('blocked')),
    objects: new ObjectsPanel(),
    platform: new PlatformPanel(platform),
    animations: new AnimationsPanel(tabs),
  };
  const opens = (name) => () => panels[name].open();
  panels.examples = new ExamplesPanel([
    { label: t('Native functions'), about: t('All of them, ready to be called'), open: opens('functions') },
    { label: t('Windows in motion'), about: t('Web views that move along curves, and with a finger'), open: opens('animations') },
    { label: t('Shared objects'), about: t('What programs share, live, and analytics'), open: opens('objects') },
    { label: t('Platform'), about: t('What the desktop and the device tell, and can be asked'), open: opens('platform') },
  ]);

  // Panels without a button of their own mark the menu button as open.
  const buttons = { downloads: 'downloads', newTab: 'new-tab-in', pageInfo: 'security' };
  const place = new PanelPlace(tabs);
  for (const [name, panel] of Object.entries(panels)) place.add(panel, $(buttons[name] ?? 'menu'));
  for (const [name, id] of Object.entries(buttons)) $(id).addEventListener('click', () => panels[name].toggle());

  return {
    panels,
    addMenu(commands) {
      panels.menu = new MenuPanel(tabs, $('menu'), commands);
      panels.menu.onToggle = (isOpen) => $('menu').setAttribute('aria-expanded', isOpen);
      $('menu').addEventListener('click', () => panels.menu.toggle());
    },
  };
}

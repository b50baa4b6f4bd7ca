/** All the panels, and the menu that leads to them. */

import { AnimationsPanel } from './animations-panel.js';
import { Blocker } from './blocker.js';
import { BlockerPanel } from './blocker-panel.js';
import { DownloadList, DownloadsPanel } from './downloads.js';
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

const $ = (id) => document.getElementById(id);

export function makePanels({ tabs, store, platform, settings, known, permissions, dialogs, find, openNewTab, restore, canRestore }) {
  const list = new DownloadList(tabs, dialogs);
  const panels = {
    functions: new FunctionsPanel($('panel'), { currentHandle: () => tabs.active?.view?.handle ?? WebView.root.handle }),
    downloads: new DownloadsPanel($('downloads-panel'), $('downloads'), { list }),
    pageInfo: new PageInfoPanel(tabs, known),
    settings: new SettingsPanel(tabs, settings),
    history: new HistoryPanel(tabs),
    inspector: new InspectorPanel(tabs),
    logins: new LoginsPanel(),
    newTab: new NewTabPanel(tabs, openNewTab),
    screenshot: new ScreenshotPanel(tabs, list),
    siteData: new SiteDataPanel(tabs, store),
    permissions: new PermissionsPanel(tabs, permissions),
    blocker: new BlockerPanel(tabs, new Blocker(tabs, store), $('blocked')),
    objects: new ObjectsPanel(),
    platform: new PlatformPanel(platform),
    animations: new AnimationsPanel(tabs),
  };
  const opens = (panel) => () => panel.open();
  panels.menu = new MenuPanel(tabs, [
    { label: 'New private tab', key: 'Ctrl+Shift+N', run: () => openNewTab(undefined, true) },
    { label: 'New tab in a process…', key: 'Alt+T', run: opens(panels.newTab) },
    { label: 'Find in page', key: 'Ctrl+F', run: find },
    { label: 'History of this tab', key: 'Ctrl+H', run: opens(panels.history) },
    { label: 'Restore the last session', run: restore, isThere: canRestore },
    { label: 'Downloads', run: opens(panels.downloads) },
    { label: 'Picture of the page', run: opens(panels.screenshot) },
    { label: 'Windows in motion', run: opens(panels.animations) },
    { label: 'Page information', run: opens(panels.pageInfo) },
    { label: 'Saved log-ins', run: opens(panels.logins) },
    { label: 'Site permissions', run: opens(panels.permissions) },
    { label: 'Blocked resources', run: opens(panels.blocker) },
    { label: 'Clear data', key: 'Ctrl+Shift+Del', run: opens(panels.siteData) },
    { label: 'Settings', key: 'Ctrl+,', run: opens(panels.settings) },
    { label: 'Shared objects', run: opens(panels.objects) },
    { label: 'Platform', run: opens(panels.platform) },
    { label: 'Documentation', run: () => tabs.open('local:///docs/index.html') },
    { label: 'Web inspector', run: opens(panels.inspector) },
    { label: 'Native functions', run: opens(panels.functions) },
  ]);

  // Panels without a button of their own mark the menu button as open.
  const buttons = { functions: 'functions', downloads: 'downloads', menu: 'menu', newTab: 'new-tab-in', pageInfo: 'security' };
  const place = new PanelPlace();
  for (const [name, panel] of Object.entries(panels)) place.add(panel, $(buttons[name] ?? 'menu'));
  for (const [name, id] of Object.entries(buttons)) $(id).addEventListener('click', () => panels[name].toggle());
  return panels;
}

// The parts of a page that work on the engine's view. Main thread.
#pragma once

#include "engine/webkit/features/HangMonitor.h"
#include "engine/webkit/features/PageApis.h"
#include "engine/webkit/features/PageAutomation.h"
#include "engine/webkit/features/PageFind.h"
#include "engine/webkit/features/PageFit.h"
#include "engine/webkit/features/PageForms.h"
#include "engine/webkit/features/PageFullScreen.h"
#include "engine/webkit/features/PageHistory.h"
#include "engine/webkit/features/PageInput.h"
#include "engine/webkit/features/PageMenu.h"
#include "engine/webkit/features/PageNavigation.h"
#include "engine/webkit/features/PageNotifications.h"
#include "engine/webkit/features/PagePrompts.h"
#include "engine/webkit/features/PageSecurity.h"
#include "engine/webkit/features/PageSettings.h"
#include "engine/webkit/features/PageWindows.h"
#include "engine/webkit/inspector/PageInspector.h"

// Made and gone with the view. Each is given the page as its context, and the parts above it that
// it works with.
struct PageParts {
  PageParts(PageContext& page, WebKitWebView* view)
      : hangMonitor(page, view),
        input(page, view),
        settings(page, view),
        history(page, view),
        security(page, view),
        navigation(page, view),
        prompts(page, hangMonitor, view),
        windows(page, hangMonitor, view),
        find(page, view),
        forms(page, prompts, view),
        menu(page, view),
        notifications(page, view),
        inspector(page, view),
        fullScreen(page, view),
        fit(page, view),
        apis(page),
        automation(page, view) {}

  HangMonitor hangMonitor;
  PageInput input;  // before the settings, which may take the input method away
  PageSettings settings;
  PageHistory history;
  PageSecurity security;
  PageNavigation navigation;
  PagePrompts prompts;
  PageWindows windows;
  PageFind find;
  PageForms forms;
  PageMenu menu;
  PageNotifications notifications;
  PageInspector inspector;
  PageFullScreen fullScreen;
  PageFit fit;
  PageApis apis;
  PageAutomation automation;
};

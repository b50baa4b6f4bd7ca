// What the pages of a process share, for the parts of a page. Main thread.
#pragma once

#include "engine/webkit/base/AutomationMode.h"
class Downloads;
class EngineInspector;
class FormHistory;
class PasswordStore;
class Resources;
class WebProcessLinks;
struct LocalRoots;
struct SavedLogin;

// Owned by the engine, which outlives its pages.
struct EngineServices {
  const LocalRoots& localRoots;
  Downloads& downloads;
  EngineInspector& inspector;
  FormHistory& formHistory;
  WebProcessLinks& links;
  PasswordStore& passwords;
  SavedLogin& proxyLogin;  // kept while the process runs; without a username there is none
  Resources& resources;
  AutomationMode automation;
};

// What WebDriver clients may drive in this process. Any thread.
#pragma once

// Pages: all web views but the one that drives the application. Chrome: that one, and pages too;
// what the pages ask is still answered by the chrome.
enum class AutomationMode { Off, Pages, Chrome };

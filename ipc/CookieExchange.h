// Synchronises the cookies of the main process and its child processes: each reports the changes
// its pages make, and the main process forwards them to the others. Main thread.
#pragma once

class CookieChangesMessage;
class IPCSenderGroup;

// In the main process, once its engine has started.
void shareCookiesWithChildren();
// Sends all cookies to a newly connected child, whose engine starts without any.
void tellCookiesTo(const IPCSenderGroup& group);
// Applies a child's changes, which are not sent back to it.
void takeCookiesFrom(const IPCSenderGroup& group, const CookieChangesMessage& message);

// In a child, once its engine has started.
void shareCookiesWithParent(int mainConnectionId);
void takeCookiesFromParent(const CookieChangesMessage& message);

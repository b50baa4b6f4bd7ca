// Keeps the cookies of the main process and of its child processes the same: each tells what its
// pages change, and the main process passes that on to the others. Main thread.
#pragma once

class CookieChangesMessage;
class IPCSenderGroup;

// In the main process, once its engine has started.
void shareCookiesWithChildren();
// A child that has proved itself gets what there is; its engine has nothing of its own.
void tellCookiesTo(const IPCSenderGroup& group);
// A child tells. It is not told back.
void takeCookiesFrom(const IPCSenderGroup& group, const CookieChangesMessage& message);

// In a child, once its engine has started.
void shareCookiesWithParent(int mainConnectionId);
void takeCookiesFromParent(const CookieChangesMessage& message);

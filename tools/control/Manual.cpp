// What pagehost-ctl says about itself. Any thread: texts from the table.
#include "tools/control/Manual.h"

#include "platform/desktop/Notifications.h"

using Tessel::Platform::Notification;
using Tessel::Platform::notifications;

namespace {

constexpr const char* usage =
    R"(Usage: pagehost-ctl [--pid PID] NOTIFICATION [ARGUMENT...]
       pagehost-ctl [--pid PID] --watch
       pagehost-ctl --list | --help | --man

Raises a notification in a running pagehost, as if the desktop, the device or another
application had, or shows what its chrome asks of them.

  --pid PID  the program to talk to; needed when there are several
  --watch    prints every request of the chrome, one line of JSON each, until it is ended
  --list     the numbers of the processes of the running programs
  --man      this as a manual page: pagehost-ctl --man | man -l -

The status is 0 when it was raised, 1 when that failed, 2 for a mistake in the command.

Notifications, by the part of the chrome that hears them:
)";

constexpr const char* manualStart =
    R"(.\" Written by pagehost-ctl --man from the program's table of notifications: change that.
.TH PAGEHOST-CTL 1
.SH NAME
pagehost-ctl \- raise notifications in a running pagehost
.SH SYNOPSIS
.B pagehost-ctl
.RB [ \-\-pid
.IR PID ]
.I NOTIFICATION
.RI [ ARGUMENT ...]
.br
.B pagehost-ctl
.RB [ \-\-pid
.IR PID ]
.B \-\-watch
.br
.B pagehost-ctl
.BR \-\-list " | " \-\-help " | " \-\-man
.SH DESCRIPTION
Raises a notification in a running
.BR pagehost (1),
as if the desktop, the device or another application had raised it, so that a chrome can be tried
with all of them.
.SH OPTIONS
.TP
.BI \-\-pid " PID"
The program to talk to; needed when there are several.
.TP
.B \-\-watch
Prints every request of the chrome as one line of JSON, until it is ended.
.TP
.B \-\-list
Prints the numbers of the processes of the running programs.
.SH NOTIFICATIONS
)";

constexpr const char* manualEnd =
    R"(.SH EXIT STATUS
0 when the notification was raised, 1 when that failed, 2 for a mistake in the command.
.SH FILES
.TP
.I $XDG_RUNTIME_DIR/pagehost/control-PID
The socket of a running program; below
.I /tmp/pagehost-UID
where the variable is not set. The program refuses everybody but its own user and root.
.SH EXAMPLES
.nf
pagehost-ctl onWindowState fullscreen
pagehost-ctl onRegionChange de_AT
pagehost-ctl onFontInfoChange "DejaVu Serif" 12.5
.fi
)";

}  // namespace

std::string helpText() {
  std::string text = usage;
  const char* group = "";
  for (const Notification& notification : notifications()) {
    if (std::string(group) != notification.group) {
      group = notification.group;
      text.append("\n").append(group).append("\n");
    }
    text.append("  ").append(notification.name).append(notification.parameters);
    text.append("\n      ").append(notification.text).append("\n");
  }
  return text;
}

std::string manualPage() {
  std::string text = manualStart;
  for (const Notification& notification : notifications()) {
    text.append(".TP\n.B ").append(notification.name).append("\\fR");
    text.append(notification.parameters).append("\n").append(notification.text).append("\n");
  }
  return text.append(manualEnd);
}

# shellcheck shell=bash
# A screen of its own for programs that run where nobody watches. To be sourced by bash.

# await SECONDS PID COMMAND...: until the command succeeds. Fails when the time is over, or when
# the process has ended before.
await() {
  local deadline=$((SECONDS + $1)) pid=$2
  shift 2
  until "$@"; do
    if ((SECONDS >= deadline)) || ! kill -0 "$pid" 2>/dev/null; then
      # It may have become true since.
      "$@"
      return
    fi
    sleep 0.1
  done
}

# end_process PID: ends a child of this shell. Fails when that took force.
end_process() {
  kill -TERM "$1" 2>/dev/null
  if ! await 10 "$1" process_is_gone "$1"; then
    kill -KILL "$1" 2>/dev/null
    return 1
  fi
}
process_is_gone() { ! kill -0 "$1" 2>/dev/null; }

# The X servers that start_display has started; the caller ends them with end_displays.
display_pids=()

# start_display FOLDER: starts an X server on a free display, logging into the folder. Exports DISPLAY.
start_display() {
  local folder=$1 display_pid number=
  : >"$folder/display"
  Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset \
    3>>"$folder/display" >"$folder/xvfb.log" 2>&1 </dev/null &
  display_pid=$!
  display_pids+=("$display_pid")
  if ! await 30 "$display_pid" read_line number "$folder/display"; then
    printf 'The X server did not start:\n' >&2
    tail -n 20 "$folder/xvfb.log" >&2
    return 1
  fi
  export DISPLAY=:$number
}

end_displays() {
  local pid
  for pid in "${display_pids[@]}"; do end_process "$pid" || true; done
  display_pids=()
}

read_line() { read -r "$1" <"$2"; }

# use_private_folders FOLDER: from now on programs know nothing of this user's settings, data and
# session, and leave nothing behind outside the folder.
use_private_folders() {
  local kind
  for kind in CONFIG_HOME DATA_HOME CACHE_HOME RUNTIME_DIR; do
    export "XDG_$kind=$1/$kind"
    mkdir -m 700 "$1/$kind"
  done
  # Pages, too, ask this whether the user wants things to move. Pictures should stand still.
  mkdir "$1/CONFIG_HOME/gtk-3.0"
  printf '[Settings]\ngtk-enable-animations=false\n' >"$1/CONFIG_HOME/gtk-3.0/settings.ini"
  unset DBUS_SESSION_BUS_ADDRESS
  # Sharing graphics memory with the X server takes hardware that it does not have.
  export WEBKIT_DISABLE_DMABUF_RENDERER=1
}

# shellcheck shell=bash
# Common code of the soak tests: runs the program on its own display and measures its resources. To be
# sourced by bash with $minutes set.
: "${minutes:?}"

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/tools/packages.sh"
source "$root/tools/build.sh"
source "$root/tools/headless.sh"

scratch=$(mktemp -d)
program_pid=
helper_pid=
clean_up() {
  local pid
  for pid in "$program_pid" "$helper_pid"; do
    if [[ $pid ]]; then end_process "$pid" || true; fi
  done
  end_displays
  rm -rf "$scratch"
}
trap clean_up EXIT

# prepare_soak: builds the program, starts a display, creates private folders.
prepare_soak() {
  install_packages build run headless bench
  build_preset release product
  use_private_folders "$scratch"
  start_display "$scratch"
}

# start_program CHROME_URL LOCAL_ROOT
start_program() {
  CHROME_URL=$1 TESSEL_LOCAL_ROOT=$2 \
    "$root/build/release/bin/pagehost" >"$scratch/output" 2>"$scratch/errors" &
  program_pid=$!
}

# The processes of this run: those with its folder in their environment.
processes() { grep -lzF "$scratch" /proc/[0-9]*/environ 2>/dev/null | cut -d/ -f3; }
children() { pgrep -f '^pagehost-webview' | grep -xFf <(processes) || true; }

# measure: sets memory in MB, the same as kilobytes, count of processes, descriptors of the program.
measure() {
  local pid part
  memory=0 count=0
  for pid in $(processes); do
    [[ $pid != "${display_pids[0]}" && $pid != "$helper_pid" ]] || continue
    part=$(awk '$1 == "Pss:" { print $2 }' "/proc/$pid/smaps_rollup" 2>/dev/null) || continue
    memory=$((memory + ${part:-0}))
    count=$((count + 1))
  done
  # For soak-signage.
  # shellcheck disable=SC2034
  kilobytes=$memory
  memory=$((memory / 1024))
  descriptors=$(find "/proc/$program_pid/fd" -mindepth 1 2>/dev/null | wc -l)
}

# Whether the page has printed something within the last minute; each of them does every few seconds.
goes_on() { [[ $(stat -c %Y "$scratch/output") -ge $(($(date +%s) - 60)) ]]; }

sample() {
  measure
  printf '%5d s  %4d MB  %3d processes  %4d descriptors  %d sockets\n' "$SECONDS" "$memory" "$count" \
    "$descriptors" "$(find "$XDG_RUNTIME_DIR" -type s | wc -l)"
}

# slope FILE START: by how many MB an hour the second column, in kB, changes with the first, in seconds,
# from that second on.
slope() {
  awk -v start="$2" '
    $1 >= start { x[++n] = $1 / 3600; y[n] = $2 / 1024; sx += x[n]; sy += y[n] }
    END {
      if (n < 3) { print "too few samples for a slope"; exit }
      for (i = 1; i <= n; ++i) { dx = x[i] - sx / n; xx += dx * dx; xy += dx * (y[i] - sy / n) }
      b = xy / xx
      for (i = 1; i <= n; ++i) { r = y[i] - sy / n - b * (x[i] - sx / n); rr += r * r }
      printf "PSS %.0f MB on average; slope %+.1f MB/h, +/- %.1f (%d samples over %.0f minutes)\n",
        sy / n, b, 2 * sqrt(rr / (n - 2) / xx), n, (x[n] - x[1]) * 60
    }' "$1"
}

# The largest processes, to distinguish one large page from general growth.
largest() {
  local pid
  for pid in $(processes); do
    printf '%s kB, %s s old: %s\n' \
      "$(awk '$1 == "Pss:" { print $2 }' "/proc/$pid/smaps_rollup" 2>/dev/null)" \
      "$(ps -o etimes= -p "$pid" | tr -d ' ')" "$(ps -o args= -p "$pid")"
  done | sort -rn | head -n 8
}

# give_up TEXT: prints the error and the program's last output.
give_up() {
  printf '%s\n' "$1" >&2
  tail -n 20 "$scratch/errors" >&2
  exit 1
}

# shellcheck shell=bash
# Builds in build/PRESET below the folder that $root names. To be sourced by bash.
: "${root:?}"

# build_preset PRESET [OPTION=ON]... TARGET...: configures where that is needed, then builds. Says
# little unless it fails or somebody watches.
build_preset() {
  local preset=$1 folder=$root/build/$1
  local -a options=() talk=()
  shift
  while [[ ${1:-} == *=* ]]; do
    options+=("$1")
    shift
  done
  mkdir -p "$folder"
  configure_preset "$preset" "$folder" "${options[@]}" || return
  [[ -t 2 ]] || talk=(-- --quiet)
  cmake --build "$folder" --parallel "${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}" \
    --target "$@" "${talk[@]}" >&2
}

# Ninja itself notices changed CMake files, but neither changed presets nor options. Options that are on
# stay on: what an earlier call has built is not thrown away.
configure_preset() {
  local preset=$1 folder=$2 option needed=
  shift 2
  if [[ ! -f $folder/build.ninja || ! $folder/configured -nt $root/CMakePresets.json ]]; then needed=yes; fi
  for option in "$@"; do
    grep -q "^${option%=*}:[A-Z]*=${option#*=}$" "$folder/CMakeCache.txt" 2>/dev/null || needed=yes
  done
  [[ $needed ]] || return 0
  if ! (cd "$root" && cmake --preset "$preset" "${@/#/-D}") >"$folder/configure.log" 2>&1; then
    cat "$folder/configure.log" >&2
    return 1
  fi
  touch "$folder/configured"
}

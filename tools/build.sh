# shellcheck shell=bash
# Builds in build/PRESET below the folder that $root names. To be sourced by bash.
: "${root:?}"

# build_preset PRESET TARGET...: configures where that is needed, then builds. Says little unless
# it fails or somebody watches.
build_preset() {
  local preset=$1 folder=$root/build/$1
  local -a targets=("${@:2}") talk=()
  mkdir -p "$folder"
  # Ninja itself notices changed CMake files, but not changed presets.
  if [[ ! -f $folder/build.ninja || ! $folder/configured -nt $root/CMakePresets.json ]]; then
    if ! (cd "$root" && cmake --preset "$preset") >"$folder/configure.log" 2>&1; then
      cat "$folder/configure.log" >&2
      return 1
    fi
    touch "$folder/configured"
  fi
  [[ -t 2 ]] || talk=(-- --quiet)
  cmake --build "$folder" --parallel "${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}" \
    --target "${targets[@]}" "${talk[@]}" >&2
}

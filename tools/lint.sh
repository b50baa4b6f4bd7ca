#!/usr/bin/env bash
# Looks at the sources without running them. Each check says what it finds, and nothing else.
set -uo pipefail

usage() {
  cat <<'TEXT'
Usage: tools/lint.sh CHECK...

  format   the layout of the C++ files, by clang-format
  tidy     the product's C++ sources, by clang-tidy, where they or what they include changed
           since this last passed; build/release must be built, with its tests
  syntax   whether bash can read the shell scripts
  shell    the shell scripts, by shellcheck
  layers   which room of the tree includes which, by tools/layers.txt, and whether each library
           links with nothing but what it depends on; build/release must be built
TEXT
}

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/tools/packages.sh"
cd "$root" || exit
build=build/release

# Fails when there is nothing to look at: that would pass for the wrong reason.
some() {
  (($#)) && return
  printf 'There are no files to look at.\n'
  return 1
}

# source_files [PATTERN]...: those of the tree; what git ignores is none. An archive of it has no git.
source_files() {
  if git rev-parse --git-dir >/dev/null 2>&1; then
    git ls-files --cached --others --exclude-standard -- "$@"
  else
    local pattern
    (($#)) || set -- '*'
    for pattern in "$@"; do
      find . -path ./build -prune -o -type f -name "$pattern" -printf '%P\n'
    done
  fi
}

shell_scripts() {
  # By their first line: some have no ending.
  source_files | while IFS= read -r file; do
    if [[ $file == *.sh ]] || { [[ -x $file ]] && head -c 64 "$file" | grep -q '^#!.*\bbash'; }; then
      printf '%s\n' "$file"
    fi
  done
}

check_format() {
  local -a files
  mapfile -t files < <(source_files '*.cpp' '*.h')
  some "${files[@]}" && clang-format --dry-run -Werror "${files[@]}"
}

check_syntax() {
  local -a files
  local file status=0
  mapfile -t files < <(shell_scripts)
  some "${files[@]}" || return
  for file in "${files[@]}"; do bash -n "$file" || status=1; done
  return "$status"
}

check_shell() {
  local -a files
  mapfile -t files < <(shell_scripts)
  # SC2317: functions that are called by way of others look unreachable to it.
  some "${files[@]}" && shellcheck --external-sources --exclude SC2317 "${files[@]}"
}

check_layers() {
  local -a files
  mapfile -t files < <(source_files '*.cpp' '*.h' '*.def')
  some "${files[@]}" && python3 tools/layers.py "${files[@]}" &&
    cmake --build "$build" --target layers -- --quiet
}

# Prints, for each object of the build, its source and the files of this tree that went into it.
sources_with_headers() {
  ninja -C "$build" -t deps | awk -v root="$PWD/" -v build="$build/" '
    /^[^ ]/ { if (line) print line; line = "" }
    /^ / {
      file = $1
      if (file ~ /^\/usr\//) next
      if (file ~ /^\.\.\/\.\.\//) sub(/^\.\.\/\.\.\//, "", file)
      else if (file ~ /^\//) sub("^" root, "", file)
      else file = build file
      line = line (line ? " " : "") file
    }
    END { if (line) print line }'
}

# tidy_one SOURCE HEADER...: does nothing when all that counts is what it was when it last passed.
tidy_one() {
  local source=$1 sum output
  sum=$({
    cat "$passed/common" "$@"
    # Where the tree lies does not count: a fresh clone may find what another one left.
    grep -F -B 1 "\"$PWD/$source\"" "$build/compile_commands.json" | sed "s|$PWD|.|g"
  } | sha256sum)
  sum=${sum%% *}
  if [[ ! -e $passed/$sum ]]; then
    output=$(clang-tidy --quiet -p "$build" "$source" 2>&1) || {
      # How much it has to say about other people's headers is no finding.
      grep -vE '^[0-9]+ warnings? (generated|treated as errors)|^Suppressed ' <<<"$output"
      return 1
    }
  fi
  touch "$passed/$sum"
}

check_tidy() {
  local -a sources
  mapfile -t sources < <(sources_with_headers | grep -vE '^(tests|bench)/' | sort)
  some "${sources[@]}" || return
  passed=build/tidy
  mkdir -p "$passed"
  # Other checks, another tool or other libraries: everything counts anew.
  {
    cat .clang-tidy tools/lint.sh
    dpkg-query --show clang-tidy "${packages_build[@]}"
  } >"$passed/common"
  export passed build
  export -f tidy_one
  # shellcheck disable=SC2016  # the inner shell splits each line into its files
  printf '%s\n' "${sources[@]}" | xargs -d '\n' -n 1 -P "$(nproc)" bash -c 'tidy_one $0'
  local status=${PIPESTATUS[1]}
  find "$passed" -type f -mtime +30 -delete
  return "$status"
}

(($#)) || set -- --help
failed=0
for check in "$@"; do
  case $check in
    --help) usage ;;
    format) check_format || failed=1 ;;
    tidy) check_tidy || failed=1 ;;
    syntax) check_syntax || failed=1 ;;
    shell) check_shell || failed=1 ;;
    layers) check_layers || failed=1 ;;
    *)
      usage >&2
      exit 2
      ;;
  esac
done
exit "$failed"

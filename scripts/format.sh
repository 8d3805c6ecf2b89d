#!/bin/sh
# Formats the repository's C and C++ files with clang-format (.clang-format),
# or with --check reports the files that are not formatted and fails.
set -eu
cd "$(dirname "$0")/.."
clang_format=${CLANG_FORMAT:-clang-format}
files=$(git ls-files '*.c' '*.h' '*.cpp' '*.hpp' | grep -v '/data/' || true)
if [ "${1:-}" = "--check" ]; then
  bad=""
  for f in $files; do
    "$clang_format" --style=file "$f" | cmp -s "$f" - || bad="$bad $f"
  done
  if [ -n "$bad" ]; then
    echo "format-check: not formatted (run make format):" >&2
    for f in $bad; do echo "  $f" >&2; done
    exit 1
  fi
  echo "format-check: $(echo "$files" | wc -w) files formatted"
else
  # shellcheck disable=SC2086
  "$clang_format" --style=file -i $files
fi

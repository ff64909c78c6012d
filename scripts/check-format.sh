#!/usr/bin/env bash
# Fails when a tracked C++ source is not formatted by the project's .clang-format.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -co --exclude-standard '*.cpp' '*.h' | xargs -r clang-format --dry-run --Werror

#!/usr/bin/env bash
# Which small faults in src/ does no test notice? All mutants are compiled in one build and switched on by an environment
# variable; only the tests that reach one run. Usage: scripts/mutate.sh [OPTION ...] [FOLDER_OR_FILE below src/ ...]
# The options stand in scripts/mutation/mutate.py. Mutants that change nothing anybody can observe stand, with the
# reason, in scripts/mutation/equivalent.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/setup.sh
vantor_setup mutate
exec /usr/bin/python3 scripts/mutation/mutate.py build/mutants "$@"

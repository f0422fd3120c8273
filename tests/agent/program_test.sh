#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The agent as a program: what it prints, and with which status it ends. program_test.sh AGENT
set -u
agent=$1
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
export QUORVEL_HOME_DIR="$directory/home"
mkdir "$QUORVEL_HOME_DIR"
failures=0

expect() { # NAME WANTED FOUND
    if [ "$2" != "$3" ]; then
        printf '%s: expected "%s", found "%s"\n' "$1" "$2" "$3"
        failures=$((failures + 1))
    fi
}

"$agent" --check
expect 'the built-in home is well' 0 $?

printf 'quorvel-home: 1\nplaces: [{id: a}]\ndevces: []\n' >"$directory/bad.yaml"
found=$("$agent" --check --home "$directory/bad.yaml" 2>&1)
expect 'a bad home file ends with' 6 $?
expect 'a bad home file is told of' \
    "quorvel-agent: $directory/bad.yaml:3:1: unknown key 'devces' (did you mean 'devices'?)" "$found"

found=$("$agent" --check --home "$directory/none.yaml" 2>&1)
expect 'a missing home file ends with' 6 $?
expect 'a missing home file is told of' "quorvel-agent: $directory/none.yaml: cannot be read" "$found"

"$agent" --no-such-option >/dev/null 2>&1
expect 'a wrong option ends with' 2 $?

"$agent" --print-home >"$directory/printed.json"
"$agent" --check --home "$directory/printed.json"
expect 'the printed home is a home file' 0 $?

path=$("$agent" --install)
expect 'installing ends with' 0 $?
expect 'the package file lies at' "$QUORVEL_HOME_DIR/packages/com.veltrane.norvik.quorvel-client.package" "$path"
expect 'the package says its version' 'version=2.4.0' "$(grep '^version=' "$path")"
"$agent" --uninstall
[ ! -e "$path" ]
expect 'uninstalling removes the package file' 0 $?

# Runs, listens, and ends when it is told to.
"$agent" --state "$directory/home.db" &
pid=$!
control="$QUORVEL_HOME_DIR/run/com.veltrane.norvik.quorvel-client.control.sock"
for _ in $(seq 200); do
    [ -S "$control" ] && break
    sleep 0.05
done
[ -S "$control" ]
expect 'the control socket is there' 0 $?
found=$("$agent" 2>&1)
expect 'a second agent ends with' 1 $?
kill -TERM $pid
wait $pid
expect 'SIGTERM ends it with' 0 $?
[ ! -e "$control" ]
expect 'the control socket is gone' 0 $?

mkdir "$QUORVEL_HOME_DIR/models"
printf 'quorvel-model: 1\nid: my.lamp\nname: Mine\ncomponents: {main: [switch]}\n' >"$QUORVEL_HOME_DIR/models/my.lamp.yaml"
printf 'quorvel-home: 1\nplaces: [{id: a}]\ndevices: [{id: l, model: my.lamp}]\n' >"$directory/own.yaml"
"$agent" --check --home "$directory/own.yaml"
expect 'a model of the user is found' 0 $?

exit $((failures > 0))

#!/bin/sh
# Runs a validator and fails when it fails or prints anything (its warnings count as failures).
output=$("$@" 2>&1)
status=$?
[ -z "$output" ] || printf '%s\n' "$output"
[ "$status" -eq 0 ] && [ -z "$output" ]

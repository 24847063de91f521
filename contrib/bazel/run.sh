#!/bin/sh
# What a shell test of Bazel needs to be: a script. The program is its first argument.
exec "$@"

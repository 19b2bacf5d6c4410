#!/bin/sh
# Starts a Ulvex program (ulvex, ulvex-render) from the program folder, which
# holds the database, the help, the images and the settings file.
here=$(dirname "$(readlink -f "$0")")
exec "$here/../lib/ulvex/$(basename "$0")" "$@"

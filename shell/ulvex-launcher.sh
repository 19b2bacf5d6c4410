#!/bin/sh
# Starts a Ulvex program (ulvex, ulvex-render, trickle-build) from the program
# folder, which holds the database, the soil catalogue, the help and the images.
here=$(dirname "$(readlink -f "$0")")
exec "$here/../lib/ulvex/$(basename "$0")" "$@"

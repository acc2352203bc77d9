#!/bin/sh
# run.sh PROGRAM: the platform's tests. With FREEBSD_RUN those of the FreeBSD build, else PROGRAM.
if [ -n "${FREEBSD_RUN:-}" ]; then
  exec "$FREEBSD_RUN" "$FREEBSD_BUILD/tests/platform_tests"
fi
exec "$1"

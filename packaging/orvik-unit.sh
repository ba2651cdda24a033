#!/bin/sh
# orvik-unit COMMAND...: a command of `unit` for the display unit that runs as a service, such as: orvik-unit status
set -eu
exec setpriv --reuid=orvik --regid=orvik --clear-groups env -C /var/log/orvik \
  ORVIK_RUNTIME_DIR=/run/orvik ORVIK_LOG_DIR=/var/log/orvik unit "$@"

#!/bin/sh
# stages_ok.sh FOLDER: fails, and shows what was kept of it, when a stage of scripts/check.sh failed.
# Skips where no check is under way. KIV_STAGES is set by the check whose last tests these are.
if [ -z "${KIV_STAGES:-}" ]; then
  echo "skipped: not called by scripts/check.sh, so there are no stages"
  exit 77
fi
set -- "$1"/*.failed
[ -e "$1" ] || exit 0
# The end of a long log is often all that is read: what is shown stays within it.
most=$((22 / $#))
[ $most -ge 2 ] || most=2
for failed in "$@"; do
  head -n "$most" "$failed"
done
exit 1

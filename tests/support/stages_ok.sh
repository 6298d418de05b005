#!/bin/sh
# stages_ok.sh FOLDER: fails, and shows what was kept of it, when a stage of scripts/check.sh failed.
# Skips where no check is under way. KIV_STAGES is set by the check whose last tests these are.
if [ -z "${KIV_STAGES:-}" ]; then
  echo "skipped: not called by scripts/check.sh, so there are no stages"
  exit 77
fi
status=0
for failed in "$1"/*.failed; do
  [ -e "$failed" ] || continue
  cat "$failed"
  status=1
done
exit $status

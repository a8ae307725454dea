#!/bin/sh
# manual_pages_test.sh GROFF PAGE...: each page is formatted without a warning and has the sections that people
# look for. (On 100 columns, as wide tables need.)
groff=$1
shift
status=0
for page in "$@"; do
  warnings=$("$groff" -t -man -K utf8 -T utf8 -rLL=100n -ww -W break -z "$page" 2>&1) || status=1
  if [ -n "$warnings" ]; then
    echo "$page: $warnings"
    status=1
  fi
  text=$("$groff" -t -man -K utf8 -T utf8 -P-c -P-b -P-u "$page" 2>/dev/null)
  for section in NAME DESCRIPTION 'SEE ALSO'; do
    echo "$text" | grep -q "^$section$" || { echo "$page: no section $section"; status=1; }
  done
  echo "$text" | grep -A1 '^NAME$' | grep -q '^ *quorrin[a-z-]*  *-  *[a-z]' || { echo "$page: its name and purpose"; status=1; }
done
# The command's own page fits a terminal, as it has no tables.
for page in "$@"; do
  case $page in *quorrin.1)
    wide=$("$groff" -man -K utf8 -T ascii -rLL=80n -P-c -P-b -P-u "$page" 2>/dev/null | awk 'length > 80')
    [ -z "$wide" ] || { echo "$page: wider than 80 columns: $wide"; status=1; }
    for section in FILES ENVIRONMENT; do
      grep -q "^.SH $section$" "$page" || { echo "$page: no section $section"; status=1; }
    done ;;
  esac
done
exit $status

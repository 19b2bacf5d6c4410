#!/usr/bin/env bash
# Runs trickle-build on single soils at the corners of the accepted parameter
# ranges and records, for each, the wall time, the peak memory (/usr/bin/time
# -v) and whether it passed. Each soil is added to the shipped database as a
# user adds one (all 30 cases of the shipped sweep), or, with --only, built
# alone for the cases given (a quick look at the dear cases).
#
#   tools/soil-corners.sh [--tool PATH] [--threads N] [--limit SECONDS]
#                         [--only SOIL,FLOW,IC,EMITTER]... [CORNER...]
#
# CORNER is NAME:theta_r:theta_s:alpha(1/m):n:Ks(m/s), e.g.
# "loam-n-high:0.078:0.43:3.6:10:2.889e-6". Without corners, the corners of
# the GUI form's former ranges around Loam are run. One line per soil goes to
# standard output (tab-separated: name, status, seconds, peak MB, last error
# line); each run's full log is kept in the folder named by CORNERS_LOGS
# (default: a new folder in /tmp, printed first).
set -uo pipefail
cd "$(dirname "$0")/.."
tool=build/bin/trickle-build
threads=""
limit=900
only=()
corners=()
while [ $# -gt 0 ]; do
  case "$1" in
    --tool) tool="$2"; shift 2 ;;
    --threads) threads="$2"; shift 2 ;;
    --limit) limit="$2"; shift 2 ;;
    --only) only+=(--only "$2"); shift 2 ;;
    *) corners+=("$1"); shift ;;
  esac
done

# Loam, the middle of the textures: theta_r, theta_s, alpha (1/m), n, Ks (m/s).
mid="0.078:0.43:3.6:1.56:2.8889e-6"
if [ ${#corners[@]} -eq 0 ]; then
  IFS=: read -r tr ts al nn ks <<<"$mid"
  corners=(
    "loam:$tr:$ts:$al:$nn:$ks"
    "theta_r-low:0:$ts:$al:$nn:$ks"
    "theta_r-high:0.69:0.7:$al:$nn:$ks"
    "theta_s-low:0:0.01:$al:$nn:$ks"
    "theta_s-high:$tr:0.7:$al:$nn:$ks"
    "alpha-low:$tr:$ts:0.01:$nn:$ks"
    "alpha-high:$tr:$ts:100:$nn:$ks"
    "n-low:$tr:$ts:$al:1.01:$ks"
    "n-high:$tr:$ts:$al:10:$ks"
    "Ks-low:$tr:$ts:$al:$nn:1e-9"
    "Ks-high:$tr:$ts:$al:$nn:1e-3"
  )
fi

logs="${CORNERS_LOGS:-$(mktemp -d /tmp/soil-corners.XXXXXX)}"
mkdir -p "$logs"
echo "# logs in $logs; tool $tool; threads ${threads:-default}; limit ${limit} s; ${#only[@]} --only words"
printf '# name\tstatus\tseconds\tpeak_MB\tlast error\n'
for corner in "${corners[@]}"; do
  IFS=: read -r name tr ts al nn ks <<<"$corner"
  csv="$logs/$name.csv"
  out="$logs/$name.db"
  rm -f "$out"
  if [ ${#only[@]} -gt 0 ]; then
    printf 'SoilTypeNo,Name,Texture,Clay (%%),Soil Classification,theta_r,theta_s,alpha (1/m),n,Ks (m/s)\n1,%s,medium,,corner,%s,%s,%s,%s,%s\n' \
      "$name" "$tr" "$ts" "$al" "$nn" "$ks" >"$csv"
    args=(--soils "$csv" --out "$out" "${only[@]}")
  else
    printf 'Name,Texture,Clay (%%),Soil Classification,theta_r,theta_s,alpha (1/m),n,Ks (m/s)\n%s,medium,,corner,%s,%s,%s,%s,%s\n' \
      "$name" "$tr" "$ts" "$al" "$nn" "$ks" >"$csv"
    args=(--soils "$csv" --base assets/trickle.db --out "$out")
  fi
  [ -n "$threads" ] && args+=(--threads "$threads")
  # A run that would take all the machine's memory is stopped at 3 GB.
  ( ulimit -v 3000000; /usr/bin/time -v timeout "$limit" "$tool" "${args[@]}" ) >"$logs/$name.log" 2>&1
  rc=$?
  secs=$(awk -F': ' '/Elapsed \(wall clock\)/ {n = split($2, p, ":"); s = 0; for (i = 1; i <= n; i++) s = s * 60 + p[i]; print s}' "$logs/$name.log")
  kb=$(awk -F': ' '/Maximum resident set size/ {print $2}' "$logs/$name.log")
  status=pass
  [ "$rc" -eq 124 ] && status=timeout
  [ "$rc" -ne 0 ] && [ "$rc" -ne 124 ] && status="fail($rc)"
  err=$(grep -m1 -e 'error 3' -e 'FAILED' "$logs/$name.log" | cut -c1-300)
  printf '%s\t%s\t%s\t%s\t%s\n' "$name" "$status" "${secs:-?}" "$(( ${kb:-0} / 1024 ))" "$err"
  rm -f "$out"
done

#!/usr/bin/env bash
# Grabs frames from Aravis's fake GigE Vision camera with the camera example:
#   fake_camera.sh GRAB_EXAMPLE OUTPUT_DIR FORMAT...
# writes OUTPUT_DIR/FORMAT_000.png and FORMAT_001.png for each format. The camera listens
# on 127.0.0.1 port 3956 (GigE Vision's control port, which it cannot change), inside a
# private network namespace with only loopback up where unshare allows it, so that
# nothing else sees it and parallel runs do not meet; otherwise on the machine's own
# loopback, one run at a time. Every wait is bounded and the camera is stopped by its PID
# however the script ends.
set -euo pipefail

if [ -z "${ZN_FAKE_CAMERA_NETNS:-}" ] && command -v ip >/dev/null 2>&1 &&
  unshare -rn true 2>/dev/null; then
  ZN_FAKE_CAMERA_NETNS=1 exec unshare -rn "$0" "$@"
fi

grab=$1
out=$2
shift 2
mkdir -p "$out"
log="$out/fake-camera.log"

if [ -n "${ZN_FAKE_CAMERA_NETNS:-}" ]; then
  ip link set lo up
else
  echo "no private network namespace: using the machine's loopback" >>"$log"
  exec 9>"${TMPDIR:-/tmp}/zn-fake-camera.lock"
  flock -w 120 9
fi

# The outer timeout stops the camera even if this script is killed before its trap runs.
timeout 120 arv-fake-gv-camera-0.8 -i 127.0.0.1 >>"$log" 2>&1 &
camera=$!
trap 'kill "$camera" 2>/dev/null || true; wait "$camera" 2>/dev/null || true' EXIT

# Ready once its control socket is bound: 127.0.0.1:3956 in /proc/net/udp.
for _ in $(seq 100); do
  grep -q ' 0100007F:0F74 ' /proc/net/udp && break
  kill -0 "$camera" 2>/dev/null || { echo "the fake camera exited" >>"$log"; exit 1; }
  sleep 0.05
done
grep -q ' 0100007F:0F74 ' /proc/net/udp || { echo "the fake camera did not start" >>"$log"; exit 1; }

# Aravis keeps its type registry for the life of the process; that is not ours to free.
export ASAN_OPTIONS="${ASAN_OPTIONS:-}:detect_leaks=0"
for format in "$@"; do
  timeout 20 "$grab" --camera 127.0.0.1 --format "$format" --frames 2 --timeout 3 \
    --output "$out/$format" >>"$log" 2>&1 || { echo "grabbing $format failed" >>"$log"; exit 1; }
done

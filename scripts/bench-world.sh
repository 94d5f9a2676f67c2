# A cloud, a host and applications inside the bench device, and how to act on them. Sourced by what
# plays there; the sourcing script sets build, the folder of a build, and may set examples, where the
# applications to publish are, and target to have host and plug-in run as those of the target, under
# the emulator.
# shellcheck shell=bash disable=SC2034,SC2154

readonly work=/run/demo
readonly releases=$work/releases host_log=$work/host.log reports=$work/reports
readonly cloud=$build/tools/cloud/tolvar-cloud
readonly busy_file=$work/busy
readonly examples=${examples:-$build/examples}
if [[ -n ${target:-} ]]; then
  host_command=(qemu-mipsel-static -L build/sysroot-mipsel build/mipsel/tools/host/tolvar-host
    --stamp build/mipsel/libtolvar.so)
else
  host_command=("$build/tools/host/tolvar-host" --stamp "$build/libtolvar.so")
fi

wait_for() {  # SECONDS CONDITION...
  local deadline=$((${EPOCHREALTIME/./} + $1 * 1000000))
  shift
  until "$@"; do
    ((${EPOCHREALTIME/./} < deadline)) || return 1
    sleep 0.02
  done
}

serve() {  # OPTION...
  exec "$cloud" serve --root "$releases" --cert "$work/certs/server.pem" \
    --key "$work/certs/server.key" "$@"
}

# The API and the files are served apart, so that one can be down without the other.
start_api() { serve --files-url https://files.test:8444 >>"$work/cloud.log" 2>&1 & }

start_files() {
  serve --port 8444 >>"$work/files.log" 2>&1 &
  files_pid=$!
}

live_path() { printf '/opt/%s/%s/%s' "$1" "$2" "$1"; }  # NAME VERSION

publish() {  # NAME VERSION [MAXRETRIES]
  local name=$1 version=$2 path options=
  path=$(live_path "$name" "$version")
  [[ $name != streamer ]] || options=" --busy-file $busy_file"
  "$cloud" publish --root "$releases" --label latest --process "$name" \
    --version "$version" --maxstartuptime 2 --maxretries "${3:-2}" \
    --entrypoint "chmod +x $path; $path$options >>$work/$name.log 2>&1 </dev/null &" \
    --component "$examples/$name-$version,$name,$path" >>"$work/publish.log" 2>&1
}

copy_label() {  # FROM TO
  "$cloud" copy-label --root "$releases" --from "$1" --to "$2" >>"$work/publish.log" 2>&1
}

make_world() {
  mkdir -p "$work"
  : >"$host_log"
  scripts/make-certs "$work/certs" cloud.test files.test
  install -m 644 "$work/certs/ca.pem" /tmp/cacert.pem
  # Short periods, so that the story is short: a fetch every 3 or 4 seconds, reports in between.
  printf '%s\n' bootstrap_interval=4 metrics_report_interval=20 failure_metrics_report_interval=5 \
    >/etc/config/.tolvar_config
}

start_host() {
  TOLVAR_METRICS_FILE=$reports "${host_command[@]}" >>"$host_log" 2>&1 &
  host_pid=$!
}

pid_of() { pgrep -x "$1"; }  # NAME

# Whether NAME runs as another process than OLD_PID, from the file of VERSION.
runs_anew() {  # NAME OLD_PID VERSION
  local pid
  pid=$(pid_of "$1") && [[ $pid != "$2" ]] &&
    [[ $(readlink "/proc/$pid/exe") == "$(live_path "$1" "$3")" ]]
}

is_gone() { ! pid_of "$1" >/dev/null; }  # NAME

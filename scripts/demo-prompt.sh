# The prompt of `demo --stay`. Sourced by demo-story, whose functions and variables it uses.
# shellcheck shell=bash disable=SC2154

prompt_help() {
  cat <<'TEXT'

The bench is open. The host and the cloud run; leave it with "exit".
  publish NAME VERSION     streamer 1.0.0 1.1.0 1.2.0 (never lives) 1.3.0, recorder 1.0.0
  withdraw NAME            take a process off the list
  hang NAME                SIGSTOP; found after 6 seconds
  kill -9 $(pid_of NAME)   found after 6 seconds as well
  busy / free              let streamer refuse upgrades, or agree to them
  look                     the last lines of the host's log, the reports, what runs
  log                      follow the host's log (Ctrl-C ends it)
TEXT
}

withdraw() {  # NAME
  "$cloud" withdraw --root "$releases" --label latest --process "$1"
}

hang() { kill -STOP "$(pid_of "$1")"; }  # NAME
busy() { touch "$busy_file"; }
free() { rm -f "$busy_file"; }
log() { tail -f "$host_log"; }

look() {
  tail -n 15 "$host_log"
  printf '\nlast report: '
  tail -n 1 "$reports"
  ps -C streamer,recorder,tolvar-host,tolvar-cloud -o pid,stat,etimes,args
}

stay_open() {
  start_files
  start_host
  export build work releases host_log reports cloud busy_file
  export -f prompt_help withdraw hang busy free log look publish live_path pid_of
  prompt_help
  PS1='bench> ' bash --norc -i
  kill -TERM "$host_pid"
  wait "$host_pid"
}

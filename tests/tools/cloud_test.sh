#!/usr/bin/env bash
# The stand-in cloud's commands and its answers to devices, on the bench: cloud_test.sh MAKE_CERTS
# CLOUD...
set -uo pipefail
make_certs=$1
cloud=("${@:2}")  # maybe with an emulator in front
releases=/run/releases
failed=0

check() {  # ROW STATUS TEXT GOT_STATUS GOT_TEXT
  [[ $4 != "$2" || $5 != *"$3"* ]] || return 0
  printf 'FAILED: %s\n  expected %s %s\n  got      %s %s\n' "$@"
  failed=1
}

run() {  # STATUS TEXT ARGUMENT...
  local output
  output=$("${cloud[@]}" "${@:3}" 2>&1)
  check "${*:3}" "$1" "$2" $? "$output"
}

on() { run "$1" "$2" "$3" --root "$releases" "${@:4}"; }  # STATUS TEXT COMMAND ARGUMENT...

put() {  # STATUS TEXT NAME ENTRYPOINT ARGUMENT..., the version among them if it is not 1
  local version=(--version 1)
  [[ " ${*:5} " != *' --version '* ]] || version=()
  on "$1" "$2" publish --label latest "${version[@]}" --process "$3" --entrypoint "$4" "${@:5}"
}

serve() { on "$1" "$2" serve --cert "$3" --key "$4"; }  # STATUS TEXT CERTIFICATE KEY

get() {  # STATUS TEXT PATH OPTION...
  local output
  output=$(curl -sS --path-as-is --cacert /run/c/ca.pem -w '\n%{http_code}' "${@:4}" \
    "https://cloud.test:8443$3" 2>&1)
  check "${*:3}" "$1" "$2" "${output##*$'\n'}" "${output%$'\n'*}"
}

post() { get "$1" "$2" "/device/process/$3" -d "$4"; }  # STATUS TEXT CALL BODY

processes() {  # STATUS TEXT LABEL PROCESS [DEVICE]
  post "$1" "$2" get_processes "{${5:-$device},\"version\":\"$3\",\"processname\":\"$4\"}"
}

location() {  # STATUS TEXT FILENAME VERSION
  local component="\"processname\":\"cam\",\"filename\":\"$3\",\"version\":\"$4\""
  post "$1" "$2" get_download_location "{$device,$component}"
}

cd /run || exit
"$make_certs" c cloud.test
"$make_certs" other cloud.test
printf hello >hello
printf other >different
head -c 1000000 /dev/urandom >big
mkdir "$releases"

# ---- commands -----------------------------------------------------------------------------------

component=hello,hello,/opt/hello clash=different,hello,/opt/hello
hello='5d41402abc4b2a76b9719d911017c592'  # the MD5 of that file
run 0 'Usage: tolvar-cloud' --help
run 0 'tolvar-cloud ' --version
run 0 'tolvar-cloud ' serve --version
run 0 '--entrypoint' publish --help
run 2 'A command is required'
run 2 'frob' frob
run 2 '--cert is required' serve --root .
run 2 '--port' serve --root . --cert c/server.pem --key c/server.key --port 65536
run 2 'must not end with a slash' serve --root . --cert x --key x --files-url https://x/
on 2 'no label: files' withdraw --label files --process p
on 2 'no label: ../x' copy-label --from latest --to ../x
on 2 '--process' withdraw --label latest --process ''
put 2 '--maxretries = -1' p ': &' --maxretries -1
put 2 '--maxstartuptime = 1.5' p ': &' --maxstartuptime 1.5
on 1 'no manifest for label "latest"' copy-label --from latest --to lastknowngood
run 1 'no such root: /none' withdraw --root /none --label latest --process p
put 1 'component must be' p ': &' --component hello,hello
put 1 'component must be' p ': &' --component hello,hello,opt/hello
put 1 'no plain file name: ..' p ': &' --component hello,..,/opt/hello
put 1 'no plain file name: a/b' p ': &' --component "$component,a/b"
put 1 'cannot read none: No such file or directory' p ': &' --component none,hello,/opt/hello
put 1 'cannot read c: Is a directory' p ': &' --component c,hello,/opt/hello
put 1 'error 604 latest' p ': &' --component "$component" --component $clash
put 0 "component hello 7 $hello 5 bytes" cam ': &' --component "$component,7"
put 0 'process door 1 under latest' door ': &' --maxretries 3 --component 'big,a b,/opt/b'
put 0 'warning 205 latest /data/processes/0/processname' cam ': &' --component "$component,7"
put 1 'error 203 latest /data/processes/0/processname' camera ': &'
put 1 'refused: nothing was changed' camera ': &'
put 1 'error 302' away 'x 2>&1 && y'
put 1 'error 201' away-with-the-man ': &'
put 1 'error 504' away ': &' --component hello,hello,/hello
put 1 'error 701' cam 'true &' --component "$component,7"
put 0 'warning 701' cam 'true &' --component "$component,7" --replace
put 0 'process cam 1' cam ': &' --component "$component,7" --replace
put 0 'process away 1' away ': &' --component different,other,/opt/other
on 0 'withdrew away from latest' withdraw --label latest --process away
put 1 'other bytes than published before: other 1' away ': &' --component hello,other,/opt/other
cmp different "$releases/files/other/1"
check 'what was published stays' 0 '' $? ''
put 0 'not written' away ': &' --component hello,new,/opt/new --dry-run
check 'a dry run writes nothing' '' '' "$(find "$releases" -path '*new*')" ''
put 1 'error 302' away : --dry-run
on 1 'no process away under latest' withdraw --label latest --process away
on 0 'promoted door to lastknowngood' promote door
on 1 'no process away under latest' promote away
on 0 $'latest         cam   1  1 file\n' list
on 0 $'lastknowngood  door  1  1 file\n' list
on 0 '+ cam 1' diff lastknowngood latest
on 0 '- cam 1' diff latest lastknowngood
on 0 'copied latest to lastknowngood' copy-label --from latest --to lastknowngood
put 0 'process cam 2' cam ': &' --version 2 --component "$component,7"
on 0 '~ cam 1 -> 2' diff lastknowngood latest
on 0 'copied' copy-label --from lastknowngood --to latest
put 0 'warning 704' cam ': &' --version 2 --component "$component,7"
on 0 'copied' copy-label --from lastknowngood --to latest
on 0 'every file is there as listed' verify
printf x >>"$releases/files/hello/7"
on 1 'error 603 lastknowngood /data/processes/0/components/0/checksum' verify
printf hello >"$releases/files/hello/7"
mkdir -p "$releases/broken" "$releases/no/manifest.json"
printf '{"data":[]}' >"$releases/broken/manifest.json"
on 1 'broken manifest of label "broken"' withdraw --label broken --process p
on 1 'manifest.json: Is a directory' copy-label --from latest --to no
check 'nothing half written is left' '' '' "$(find "$releases" -name '*.new.*')" ''
serve 1 'cannot read none: No such file' none c/server.key
serve 1 'are no PEM certificate and its key' c/server.pem other/server.key
run 1 'no such root: /none' serve --root /none --cert c/server.pem --key c/server.key

# ---- answers ------------------------------------------------------------------------------------

"${cloud[@]}" serve --root "$releases" --cert c/server.pem --key c/server.key >log &
server=$!
until grep -q listening log; do sleep 0.02; done
serve 1 'cannot listen on 127.0.0.1:8443: Address already in use' c/server.pem c/server.key

url=https://cloud.test:8443/files/hello/7
device='"mac":"0a1b2c3d4e5f","enr":"TOKEN","sc":"SECRET","sv":"SECRET","ts":"1"'
cam='{"processname":"cam","version":"1","entrypoint":": &","components":[{"filename":"hello",'
cam+='"localpath":"/opt/hello","version":"7","checksum":"'"$hello"'"}]}'
processes 200 "$(<"$releases/latest/manifest.json")" latest ''
processes 200 '"maxretries": 3' lastknowngood ''
processes 200 "{\"data\":{\"processes\":[$cam]}}" latest cam
processes 200 '{"data":{"processes":[]}}' latest ca
processes 404 'no manifest for label \"x\"' x ''
processes 400 '\"version\" is no label' .. ''
processes 500 'broken manifest' broken ''
processes 400 '\"enr\" is missing' latest '' "${device/\"enr\":\"TOKEN\",/}"
processes 400 'a credential is empty' latest '' "${device/SECRET/}"
processes 400 '\"mac\" is not 12' latest '' "${device/0a/0A}"
processes 400 '\"ts\" is not a string' latest '' "${device/\"1\"/1}"
post 400 'not a JSON object' get_processes "{$device"
post 400 'not a JSON object' get_processes '[]'
post 413 '"code":413' get_processes "$(printf '%070000d' 0)"
location 200 "{\"data\":{\"filename\":\"hello\",\"version\":\"7\",\"url\":\"$url\"}}" hello 7
location 200 '/files/a%20b/1"' 'a b' 1
location 404 'no file' hello 8
location 400 'no plain names' .. latest
post 400 '\"version\" is missing' get_processes "{$device}"
post 400 '\"processname\" is missing' get_download_location "{$device}"
get 200 hello /files/hello/7
get 206 'ell' /files/hello/7 -r 1-3
get 206 'lo' /files/hello/7 -r -2
get 206 'Content-Range: bytes 1-4/5' /files/hello/7 -i -r 1-
get 416 '' /files/hello/7 -r 5-
get 416 '' /files/hello/7 -r 0-5
get 404 'no such file' /files/hello/8
get 404 'no such file' "/files/%ff$(printf '%0300d' 0)/8"
processes 500 'too long' "$(printf '%0300d' 0)" ''
get 400 '"code":400' /files/../latest
get 400 '"code":400' /files/%2e%2e/latest
get 400 '"code":400' /files/hello/%2e%2e
get 404 '"code":404' /files/..%2Flatest/manifest.json
get 404 '"code":404' /latest/manifest.json
get 404 '"code":404' /device/process/get_processes
get 200 '' /files/a%20b/1 -o copy
cmp big copy
check 'a long file arrives as it is' 0 '' $? ''
printf '{"data":{"processes":[]}}' >"$releases/latest/manifest.json"
processes 200 '{"data":{"processes":[]}}' latest ''
check 'the log tells what was asked' '' 'version=lastknowngood mac=0a1b2c3d4e5f -> 200' '' "$(<log)"
check 'the log keeps secrets' '' '' "$(grep -E 'TOKEN|SECRET' log)" ''
kill -TERM $server
wait $server
check 'a signal ends it' 0 '' $? ''
exit $failed

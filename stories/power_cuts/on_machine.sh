#!/bin/sh
# On the machine of check.py, which writes a state to the disk, then a line here: "look" mounts it and
# tells its files ("look without card": the flash alone); "run" starts the host and tells what is
# wrong once it should have ended up as the cloud says; "show" tells the files then; "leave" unmounts
# all. An answer ends with a line ".".
# /run/want has lines "MD5  PATH" of the components, /run/programs the paths of the programs.

show() { find /flash/opt /media -type f -exec md5sum {} + 2>&1 | sort -k 2; }

enter() {
  mount -t ext4 /dev/vdc1 /flash && mkdir -p /flash/opt /flash/config || echo "! no flash"
  mount -o bind /flash/opt /opt
  mount -o bind /flash/config /etc/config
  [ -n "$1" ] || { mkdir /media/mmc && mount -t vfat /dev/vdc2 /media/mmc || echo "! no card"; }
  rm -f /media/mmc/FSCK*.REC  # what the card's check found in no folder
}

leave() {
  pkill -9 -x 'tolvar-host|streamer|recorder'
  for place in /media/mmc /opt /etc/config /flash; do
    tries=50
    while grep -q " $place " /proc/mounts && ! umount "$place"; do
      sleep 0.1
      [ $((tries -= 1)) -gt 0 ] || { echo "! $place stays mounted"; break; }
    done 2>/dev/null
  done
  rmdir /media/mmc 2>/dev/null
}

alive() {
  while read -r program; do
    pid=$(pgrep -x "${program##*/}") && [ "$(readlink "/proc/$pid/exe")" = "$program" ] || return 1
  done </run/programs
}

# Reads the host's log as it comes, since looking again and again takes time from the host.
await_launches() {
  missing=$(wc -l </run/programs)
  # shellcheck disable=SC3045  # BusyBox has it
  while [ "$missing" -gt 0 ] && read -r -t 120 line; do
    echo "$line" >>/run/host.log
    case $line in *"Launch process "*" successfully") missing=$((missing - 1)) ;; esac
  done
}

converged() { alive && md5sum -s -c /run/want 2>/dev/null; }

usable() { echo probe >"$1/probe" && [ "$(cat "$1/probe")" = probe ] && rm "$1/probe"; } 2>&1

# Its folder may be gone after a check, and nothing for it have come.
card_usable() { usable /media/mmc && { [ ! -e /media/mmc/.ota ] || usable /media/mmc/.ota; }; }

run() {
  dmesg -c >/dev/null
  : >/run/host.log
  rm -f /run/host.pipe
  mkfifo /run/host.pipe
  exec 3<>/run/host.pipe  # stays open: the host must not find it without a reader
  LD_LIBRARY_PATH=/usr/lib/tolvar /usr/lib/tolvar/tolvar-host /usr/lib/tolvar/libtolvar.so \
    >&3 2>&1 </dev/null 3>&- &
  await_launches <&3
  sleep 1
  converged || { echo "! does not converge"; cat /run/host.log; }
  sed -n 's/^CheckIntegrity \(.*\) vs. \(.*\)/\1 \2/p' /run/host.log | awk '$1 != $2 { n++ } END { print "torn " n + 0 }'
  usable /opt || echo "! the flash refuses"
  [ ! -d /media/mmc ] || card_usable || echo "card refuses"
  dmesg | grep -E '(EXT4|FAT)-fs.*(error|Error|corrupt)' | sed 's/^/kernel: /'
}

while read -r word rest; do
  case $word in
    look) enter "$rest" 2>&1; show ;;
    show) show ;;
    run) run 2>&1; show ;;
    leave) leave 2>&1 ;;
  esac
  echo .
done

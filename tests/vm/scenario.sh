# What zvgctl does in every mode: sourced, with the connection's options in $door and the folder of
# this file in $files. The registers are plain storage on the board, so that a file behind an aperture
# can stand for them.

z() {
  echo "\$ zvgctl $*"
  # shellcheck disable=SC2086  # one word an option
  zvgctl "$@" $door 2>&1 || echo "exit status $?"
}

scenario() {
  cd "$files" || return
  # What was there before anybody came.
  z reg read 0x700000 --count 2
  z vram read 0xffffff8 --width 8 --count 8
  # Every width, written by one and read by another.
  z reg write 0x700100 0x01234567 0x89abcdef
  z reg write 0x700108 0xa5 --width 8
  z reg write 0x70010a 0xbeef --width 16
  z reg write 0x700110 0x1122334455667788 --width 64
  z reg mask 0x700108 0x0f 0x03
  z reg read 0x700100-0x700117 --width 8
  z reg read 0x700100 --width 64 --count 3 --json
  z vram write 0x1002 0x1234 0x5678 --width 16
  z vram write 0xabcdef0 0x8877665544332211 --width 64
  z vram read 0x1000 --count 2
  z vram read 0xabcdef4
  # A script that writes, sets bits, waits and checks.
  z script run script.txt
  z reg read 0x700200 --count 3
  # Refused before the board hears of it.
  z reg read 0x1000000
}

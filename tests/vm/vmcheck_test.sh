#!/usr/bin/env bash
# utk-vmcheck, the host side of the VM leg: a drawing buffer compared with
# a screen dump of the expected picture passes; with one pixel of the
# buffer changed, the check names that pixel at its place on the device
# (centred: 320 x 240 at 32 bits per pixel, 199 x 48 buffer at (60, 96))
# and both colours; a dump of another size is refused.
#   vmcheck_test.sh UTK-VMCHECK
set -u
check=$1
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

# A 200 x 48 buffer (model 62: 25 bytes a row) with a diagonal of ink and
# the spare last column inked, which the 32-bit conversion shows too.
art() {  # art FLIPX FLIPY
  for ((y = 0; y < 48; y++)); do
    row=""
    for ((x = 0; x < 200; x++)); do
      c=.
      { [ $x -eq $((y * 3)) ] || [ $x -eq 199 ]; } && c='#'
      [ $x -eq "$1" ] && [ $y -eq "$2" ] && c='#'
      row+=$c
    done
    echo "$row"
  done
}
run() {  # run STEP...
  "$check" --label t --id testfb --device 320x240:32:1280 --model 62 --dir "$dir" "$@" 2>&1 \
    | grep -v '^\(Actual\|Emulated\) '
}

art -1 -1 > "$dir/a-lcd.txt"
art 5 3 > "$dir/b-lcd.txt"
out=$(run a)
[ "$out" = "t a: cannot read $dir/a-vm.png" ] || fail "missing dump: $out"
cp "$dir/a-expected.png" "$dir/a-vm.png"
run b > /dev/null   # writes the flipped buffer's expected picture
cp "$dir/b-expected.png" "$dir/a-vm.png"
out=$(run a)
[ "$out" = "t a: first differing pixel at (65, 99): expected #000000, VM shows #ffffff; 1 pixels differ" ] \
  || fail "one pixel: $out"
cp "$dir/a-expected.png" "$dir/b-vm.png"
out=$(run a b)
[ "$out" = "t a: first differing pixel at (65, 99): expected #000000, VM shows #ffffff; 1 pixels differ
t b: first differing pixel at (65, 99): expected #ffffff, VM shows #000000; 1 pixels differ" ] \
  || fail "two steps: $out"
cp "$dir/b-expected.png" "$dir/b-vm.png"
out=$(run b)
[ "$out" = "t b: ok" ] || fail "same picture: $out"
"$check" --label t --id testfb --device 240x128:32:960 --model 62 --dir "$dir" b 2>&1 \
  | grep -q '^t b: the VM.s screen is 320x240, expected 240x128$' || fail "size not refused"
echo "utk-vmcheck: all cases passed"

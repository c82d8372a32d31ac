#!/usr/bin/env bash
# Runs the built orvik tool on files the library writes and on damaged copies of them.
#
#   ToolTest.sh ORVIK SOURCE_DIR WORK_DIR SECTION
#
# SECTION: golden (one expected output per command), usage (exit codes and messages),
# damaged (truncated, flipped and lying copies: defined exit codes, one-line messages, no
# crash), roundtrip (convert between every pair of variant forms).
set -u
ORVIK=$1
SRC=$2
WORK=$3
SECTION=$4
rm -rf "$WORK" && mkdir -p "$WORK" && cd "$WORK" || exit 1
failures=0

fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

# run ARGS...: runs the tool, leaves its output in out.txt / err.txt and its exit code in $rc.
run() {
    "$ORVIK" "$@" > out.txt 2> err.txt
    rc=$?
}

# expect CODES ARGS...: the exit code is one of CODES (e.g. "0|2"); a signal is always a failure.
expect() {
    local codes=$1
    shift
    run "$@"
    if [ "$rc" -ge 128 ] || ! [[ "|$codes|" == *"|$rc|"* ]]; then
        fail "orvik $* exited $rc (expected $codes): $(head -c 300 err.txt)"
        return 1
    fi
    # Every message is one line starting with "orvik: ".
    if [ -s err.txt ] && { [ "$(wc -l < err.txt)" -ne 1 ] || ! grep -q '^orvik: ' err.txt; }; then
        fail "orvik $*: message is not one line starting with 'orvik: ': $(head -c 300 err.txt)"
        return 1
    fi
    return 0
}

same() {  # same FILE EXPECTED-FILE DESCRIPTION
    cmp -s "$1" "$2" || { fail "$3"; diff "$2" "$1" | head -20 >&2; }
}

# A level "a" holding the int32 "x" = 7: the smallest complete buffer, written byte by byte.
printf '\x0b\x02a\x00\x00\x00\x01\x00\x00\x00\x1c\x00\x00\x00\x00\x00\x00\x00\x02\x02x\x00\x00\x00\x07\x00\x00\x00\x12\x00\x00\x00\x00\x00\x00\x00' > tiny.lv
cp "$SRC"/sample.json "$SRC"/sample.xml "$SRC"/sample-plain.json .


# put FILE OFFSET HEX...: overwrites bytes in place.
put() {
    local file=$1 offset=$2
    shift 2
    printf "$(printf '\\x%s' "$@")" | dd of="$file" bs=1 seek="$offset" conv=notrunc status=none
}

# Every command on one damaged input: defined exit codes, never a crash.
hammer() {
    local f=$1
    expect "0|2" verify "$f" && [ "$rc" -eq 2 ] && ! grep -q 'offset\|line' err.txt &&
        fail "verify $f: the message names no position: $(cat err.txt)"
    expect "0|2" tree "$f"
    expect "0|1|2" get "$f" '\a\x'
    expect "0|2" convert "$f" out.json
    expect "0" annotate "$f"
}

case "$SECTION" in
golden)
    run annotate tiny.lv
    same out.txt "$SRC"/golden/annotate.txt "annotate tiny.lv"
    run tree sample.json
    same out.txt "$SRC"/golden/tree.txt "tree sample.json"
    run get sample.json '\settings\stage'
    same out.txt "$SRC"/golden/get.txt "get sample.json \\settings\\stage"
    cp tiny.lv lying.lv && put lying.lv 10 ff
    expect 2 verify lying.lv
    same err.txt "$SRC"/golden/verify.txt "verify lying.lv"
    run convert sample.json - --to json
    same out.txt sample.json "convert sample.json to json is the identity"
    # The other input forms, checked in a line each.
    run tree tiny.lv --json
    [ "$(sed -n 2p out.txt)" = ' {"depth": 0, "offset": 0, "name": "a", "type": "level", "detail": "(1 item, 28 bytes)"},' ] ||
        fail "tree --json tiny.lv: $(cat out.txt)"
    run tree sample.xml --depth 1
    [ "$(tail -1 out.txt)" = '  objective  element  id="2" mag="63"' ] || fail "tree sample.xml: $(cat out.txt)"
    run get sample.xml 'instrument/objective[@id='"'2'"']/@mag'
    [ "$(cat out.txt)" = 63 ] || fail "get sample.xml @mag: $(cat out.txt)"
    run get sample-plain.json /stage/axes/1
    [ "$(cat out.txt)" = y ] || fail "get sample-plain.json /stage/axes/1: $(cat out.txt)"
    run get sample.json '\settings\stage\x'
    [ "$(cat out.txt)" = -1.25 ] || fail "get finds the first of two equal names: $(cat out.txt)"
    run get tiny.lv '\a\x'
    [ "$(cat out.txt)" = 7 ] || fail "get tiny.lv \\a\\x: $(cat out.txt)"
    expect 0 verify sample-plain.json
    expect 0 verify sample.xml
    ;;
usage)
    expect 3
    expect 3 frobnicate sample.json
    expect 3 tree
    expect 3 convert sample.json out.bin
    expect 3 convert sample.json out.json --to yaml
    expect 3 tree sample.json --from yaml
    expect 3 tree sample.json --depth -1
    expect 4 tree does-not-exist.lv
    expect 4 convert sample.json /nonexistent-dir/out.json
    expect 1 get sample.json '\settings\nope'
    [ "$(cat err.txt)" = 'orvik: \settings\nope not found in sample.json' ] || fail "not-found message: $(cat err.txt)"
    expect 1 get sample-plain.json /stage/axes/2
    expect 1 get sample.xml instrument/lens
    expect 2 convert sample.xml out.json
    expect 2 convert sample-plain.json out.json
    printf '<variant version="2.0"><a runtype="kr_int32" value="1"/></variant>' > v2.xml
    expect 2 verify v2.xml  # refused with one line, the library's own report folded in
    printf 'hello' > words.txt
    expect 2 verify words.txt
    expect 0 --help
    grep -q 'Exit codes' out.txt || fail "--help names the exit codes"
    for c in tree get verify annotate convert; do
        expect 0 "$c" --help
        grep -q "$c" out.txt || fail "$c --help"
    done
    expect 0 tree - < sample.json
    expect 0 tree tiny.lv --from lv
    expect 2 tree tiny.lv --from json
    ;;
damaged)
    "$ORVIK" convert sample.json sample.lv && "$ORVIK" convert sample.json sample.lvz || fail "convert sample"
    inputs=(tiny.lv sample.lv sample.lvz)
    for f in "${inputs[@]}"; do
        size=$(stat -c %s "$f")
        # Every position of a small file; about 25 spread over a larger one.
        step=$((size / 25 + 1))
        for ((n = 0; n < size; n += step)); do
            head -c "$n" "$f" > cut.bin
            expect 2 verify cut.bin
            expect 2 tree cut.bin
            expect 0 annotate cut.bin
        done
        for ((o = 0; o < size; o += step)); do
            cp "$f" flip.bin && put flip.bin "$o" "$(printf '%02x' $(( $(od -An -tu1 -j "$o" -N1 "$f") ^ 0x5a )))"
            hammer flip.bin
            cp "$f" lie.bin && put lie.bin "$o" ff ff ff
            hammer lie.bin
        done
    done
    # Cut text documents are refused, not half read.
    for f in sample.json sample.xml sample-plain.json; do
        size=$(stat -c %s "$f")
        for ((n = 1; n < size - 2; n += 11)); do
            head -c "$n" "$f" > "cut.${f##*.}"
            expect 2 verify "cut.${f##*.}"
        done
    done
    ;;
roundtrip)
    # Lite variant (plain and compressed) -> JSON -> lite variant: the same bytes and the same
    # JSON as the source.
    for to in lv lvz; do
        "$ORVIK" convert sample.json "s.$to" --to "$to" && "$ORVIK" convert "s.$to" back.json &&
            "$ORVIK" convert back.json "again.$to" --to "$to" || fail "convert via $to"
        same back.json sample.json "sample.json -> $to -> json"
        same "again.$to" "s.$to" "$to -> json -> $to"
    done
    # XML (UTF-16 and UTF-8) -> JSON -> XML: the same document.  The XML reader knows no
    # record type that is not registered (RKrStage reads as a plain list), so the documents
    # start from what it reads.
    for to in xml xml8; do
        "$ORVIK" convert sample.json "s0.$to" --to "$to" && "$ORVIK" convert "s0.$to" s0.json &&
            "$ORVIK" convert s0.json "s.$to" --to "$to" && "$ORVIK" convert "s.$to" back.json &&
            "$ORVIK" convert back.json "again.$to" --to "$to" || fail "convert via $to"
        same "again.$to" "s.$to" "$to -> json -> $to"
        same back.json s0.json "json -> $to -> json"
    done
    # A Null item has no lite-variant form, but the XML and JSON forms keep it.
    printf '{"variant":"1.0","root":{"name":"r","type":"CKrListVariant","items":[{"name":"n","type":"unknown"}]}}' > null.json
    "$ORVIK" convert null.json null.xml && "$ORVIK" convert null.xml null2.json || fail "convert null"
    run tree null2.json
    [ "$(sed -n 2p out.txt)" = '  n  unknown' ] || fail "Null through XML: $(cat out.txt)"
    expect 0 convert null.json null.lv
    [ "$(cat err.txt)" = 'orvik: warning: 1 item of type unknown left out (a lite variant has no Null)' ] ||
        fail "no warning for a Null item: $(cat err.txt)"
    # The tiny buffer written here by hand is exactly what the library's writer produces.
    # (a .lv file is written in the library's saved-file form: "LV00", the size, the buffer).
    "$ORVIK" convert tiny.lv tiny.json && "$ORVIK" convert tiny.json tiny2.lv || fail "convert tiny"
    { printf 'LV00\x24\x00\x00\x00\x00\x00\x00\x00' && cat tiny.lv; } > tiny-saved.lv
    same tiny2.lv tiny-saved.lv "tiny.lv -> json -> lv"
    ;;
*)
    echo "unknown section $SECTION" >&2
    exit 1
    ;;
esac
[ "$failures" -eq 0 ] || { echo "$failures failures" >&2; exit 1; }
echo "$SECTION: ok"

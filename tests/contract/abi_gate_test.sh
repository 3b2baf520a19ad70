#!/bin/sh
# abi_gate_test.sh SCRIPT DESCRIPTION: applies each kind of change of the binary interface to a copy of its description
# and checks that the comparison reports it. An unchanged copy is not reported.
set -eu
script=$1
description=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Prints "equal", or "different" and the report. abidiff sets bit 2 of its exit code for a change; any other nonzero code
# is a failure of abidiff.
compare() {
    result=0
    "$script" compare "$description" "$folder/changed" > "$folder/report" 2>&1 || result=$?
    case $result in
    0) echo "equal" ;;
    4 | 12) echo "different" && cat "$folder/report" ;;
    *) cat "$folder/report" >&2 && exit 1 ;;
    esac
}

# expect TEXT SED: the edit is reported with TEXT.
expect() {
    sed "$2" "$description" > "$folder/changed"
    if cmp -s "$description" "$folder/changed"; then
        echo "the edit changes nothing: $2" >&2
        exit 1
    fi
    compare > "$folder/verdict"
    if ! grep -qx "different" "$folder/verdict" || ! grep -q "$1" "$folder/verdict"; then
        echo "expected \"$1\" after: $2" >&2
        head -40 "$folder/verdict" >&2
        exit 1
    fi
}

# within TAG NAME: the sed address of the lines of this element.
within() { echo "/<$1 name='$2'/,/<\\/$1>/"; }

cp "$description" "$folder/changed"
test "$(compare)" = "equal"

expect "'uint32_t ulBitsPerSample' offset changed from 128 to 160" \
    "$(within class-decl SZtaWaveFormatInfo) { s/ulValidBitsPerSample/x/; s/ulBitsPerSample/ulValidBitsPerSample/; s/'x'/'ulBitsPerSample'/; }"
expect "bFadeOut' offset changed from 104 to 112" \
    "$(within class-decl SZtAudioSamplesDescription) s/offset-in-bits='104'/offset-in-bits='112'/"
expect "type of 'uint64_t ui64BufferSize' changed" \
    "$(within class-decl SZtCreateAudioSamplesDescription) { /offset-in-bits='64'/ { n; s/type-id='[^']*'/type-id='95e97e5f'/; }; }"
expect "keZtAudioDataTypeOpaque' from value '4' to '5'" "s/\(keZtAudioDataTypeOpaque' value=\)'4'/\1'5'/"
expect "the vtable offset of method virtual int IZtAVContent::MarkWriteStartTime() changed from 3 to 4" \
    "$(within class-decl IZtAVContent) { s/vtable-offset='3'/vtable-offset='x'/; s/vtable-offset='4'/vtable-offset='3'/; s/'x'/'4'/; }"
expect "IZtaAudioSamplesEngine::ProcessAudioResampler.* changed from 15 to 16" \
    "$(within class-decl IZtaAudioSamplesEngine) s/vtable-offset='15'/vtable-offset='16'/"
expect "m_pScratch0' offset changed from 11008 to 11072" "s/offset-in-bits='11008'/offset-in-bits='11072'/"
expect "parameter 1 of type 'int' changed" \
    "/<function-decl name='ztErrorToString'/,/<\\/function-decl>/ s/<parameter type-id='[^']*'/<parameter type-id='8f92235e'/"
expect "DllCanUnloadNow" "/<elf-symbol name='DllCanUnloadNow'/d"
expect "g_achVersionInfo" "s/\(<elf-symbol name='g_achVersionInfo' size=\)'181'/\1'182'/"

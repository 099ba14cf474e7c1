#!/bin/bash
# check-hardening.sh FILE...: checks by their ELF headers and symbols that binaries are hardened.
set -euo pipefail
export LC_ALL=C
[ $# -gt 0 ] || { echo "usage: check-hardening.sh FILE..." >&2; exit 2; }

failed=0
# lacks FILE WHAT
lacks() {
    echo "$1: no $2" >&2
    failed=1
}

for file; do
    header=$(readelf -hW "$file")
    dynamic=$(readelf -dW "$file")
    segments=$(readelf -lW "$file")
    symbols=$(readelf --dyn-syms -W "$file")
    grep -q 'Type: *DYN' <<<"$header" || lacks "$file" "position-independent code"
    grep -q 'GNU_RELRO' <<<"$segments" || lacks "$file" "read-only relocations"
    grep -q 'BIND_NOW' <<<"$dynamic" || lacks "$file" "immediate binding"
    grep -qE 'GNU_STACK.* RW ' <<<"$segments" || lacks "$file" "stack that cannot be executed"
    grep -q '__stack_chk_fail' <<<"$symbols" || lacks "$file" "stack protector"
    # The plug-in has no call that needs a check at run time.
    [ "$(basename "$file")" = KPXDDS.so ] || grep -qE ' __[a-z]+_chk(@| |$)' <<<"$symbols" || lacks "$file" "fortified call"
    # Functions begin with a landing pad (endbr64, bti). The linker does not mark the whole file, because Debian's start
    # files lack some.
    case "$header" in
    *X86-64*) code=$(objdump -d "$file") mark=endbr64 ;;
    *AArch64*) code=$(aarch64-linux-gnu-objdump -d "$file") mark='paciasp|bti' ;;
    *) code='' mark='a known processor' ;;
    esac
    [ "$(grep -cE "$mark" <<<"$code")" -ge 20 ] || lacks "$file" "control flow protection"
done
exit $failed

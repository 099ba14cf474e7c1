#!/bin/sh
# test-oldest-processor.sh BUILD_DIR: runs the tests on an emulated baseline x86-64 processor, where any later instruction
# in the plug-in crashes. Kernels that require more are skipped. Tests of the tool's commands are left out, since the
# processes that they start would run on the real processor.
set -eu
build=${1:?usage: test-oldest-processor.sh BUILD_DIR}
tests='kernelTest modelTest readerTest pluginTest pluginWriteTest hostTest verdictTest manifestTest explainTest
    allocationTest hostileTest'
# The emulator uses memory for the code that it translates, and has locks that hang the children of fork.
# shellcheck disable=SC2086 # a list of words
printf '%s\n' $tests | xargs -P2 -I{} qemu-x86_64 -cpu qemu64,-sse3,-ssse3,-sse4.1,-sse4.2,-popcnt "$build/{}" \
    --gtest_brief=1 \
    --gtest_filter=-Loading.AThousandTimesTakesNoMoreMemory:AbsurdHeaders.TakeLittleMemory:*ForkedProcessesRead*

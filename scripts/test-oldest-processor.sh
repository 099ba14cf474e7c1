#!/bin/sh
# Runs the tests on an emulated x86-64 processor without any later instructions, so that one that slips into the plug-in
# crashes here: test-oldest-processor.sh BUILD_DIR. Kernels that need more skip themselves there. The tests of the tool's
# commands are left out: what they start would run on the real processor.
set -eu
build=${1:?usage: test-oldest-processor.sh BUILD_DIR}
tests='kernelTest modelTest readerTest pluginTest pluginWriteTest hostTest verdictTest manifestTest explainTest
    allocationTest hostileTest'
for test in $tests; do
    echo "$test on the oldest x86-64"
    # The emulator's own memory grows with the code that it translates, and it has locks of its own, which hang children
    # of fork.
    qemu-x86_64 -cpu qemu64,-sse3,-ssse3,-sse4.1,-sse4.2,-popcnt "$build/$test" --gtest_brief=1 \
        --gtest_filter=-Loading.AThousandTimesTakesNoMoreMemory:AbsurdHeaders.TakeLittleMemory:*ForkedProcessesRead*
done

// macos_frames_test.mm - frames with the layout of code for macOS, alone and mixed with those of this machine.

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <csetjmp>
#include <iterator>
#include <numeric>

#include "platform/ExceptionFrames/macos_frames.h"

extern "C" {
void objc_exception_try_enter(void* frame);
void objc_exception_try_exit(void* frame);
id objc_exception_extract(void* frame);
}

namespace {

// A frame with the layout of such code, followed by a word that the frame functions must not change.
struct MacFrame {
    int buffer[18];
    void* runtimeWords[4];
    int behind = 0x600D;
};

struct MachineFrame {
    std::jmp_buf buffer;
    void* runtimeWords[4];
};

// Does the work in a function of its own, which the compiler does not merge with the one that holds a frame.
template <typename Work>
__attribute__((noinline)) void Do(Work& work) {
    work();
}

// Run the work inside a frame of one kind and return the object that it threw, or nil.
template <typename Work>
id ThrownToMacFrame(Work work) {
    MacFrame frame;
    macos_exception_try_enter(&frame);
    if (macos_setjmp(frame.buffer) == 0) {
        Do(work);
        macos_exception_try_exit(&frame);
        return nil;
    }
    EXPECT_EQ(frame.behind, 0x600D);
    return macos_exception_extract(&frame);
}

template <typename Work>
id ThrownToMachineFrame(Work work) {
    MachineFrame frame;
    objc_exception_try_enter(&frame);
    if (_setjmp(frame.buffer) != 0) return objc_exception_extract(&frame);
    Do(work);
    objc_exception_try_exit(&frame);
    return nil;
}

class MacFramesTest : public testing::Test {
  protected:
    id first = [[[NSObject alloc] init] autorelease];
    id second = [[[NSObject alloc] init] autorelease];
};

TEST_F(MacFramesTest, ThrownObjectReachesTheFrameUnchanged) {
    EXPECT_EQ(ThrownToMacFrame([&] { @throw first; }), first);
    EXPECT_EQ(ThrownToMacFrame([] {}), nil);
}

TEST_F(MacFramesTest, ExceptionsThatFoundationRaisesReachTheFrame) {
    id thrown = ThrownToMacFrame([&] { [first valueForKey:@"nothing"]; });
    EXPECT_TRUE([[thrown name] isEqual:NSUndefinedKeyException]);
}

TEST_F(MacFramesTest, FramesOfBothKindsCanBeNested) {
    id inner = nil;
    id outer = ThrownToMachineFrame([&] {
        inner = ThrownToMacFrame([&] { @throw first; });
        @throw second;
    });
    EXPECT_EQ(inner, first);
    EXPECT_EQ(outer, second);
    outer = ThrownToMacFrame([&] {
        inner = ThrownToMachineFrame([&] { @throw second; });
        @throw first;
    });
    EXPECT_EQ(inner, second);
    EXPECT_EQ(outer, first);
}

TEST_F(MacFramesTest, NativeHandlerInsideAFrameCatches) {
    id caught = nil;
    EXPECT_EQ(ThrownToMacFrame([&] {
                  @try {
                      @throw first;
                  } @catch (id thrown) {
                      caught = thrown;
                  } @
                  throw second;
              }),
              second);
    EXPECT_EQ(caught, first);
}

TEST_F(MacFramesTest, AFrameThatWasLeftCatchesNothingAmongBothKinds) {
    EXPECT_EQ(ThrownToMachineFrame([&] {
                  EXPECT_EQ(ThrownToMacFrame([] {}), nil);
                  @throw first;
              }),
              first);
    EXPECT_EQ(ThrownToMacFrame([&] {
                  EXPECT_EQ(ThrownToMachineFrame([] {}), nil);
                  @throw first;
              }),
              first);
}

TEST_F(MacFramesTest, LeavingAFrameRemovesFramesOfTheOtherKindInsideIt) {
    EXPECT_EQ(ThrownToMacFrame([&] {
                  MacFrame outer;
                  MachineFrame inner;
                  macos_exception_try_enter(&outer);
                  objc_exception_try_enter(&inner);
                  macos_exception_try_exit(&outer);
                  @throw first;
              }),
              first);
}

// Uses enough values at once that some are in registers that a call preserves.
TEST_F(MacFramesTest, TheJumpRestoresRegisters) {
    int numbers[8];
    std::iota(std::begin(numbers), std::end(numbers), 1);
    for (int i = 0; i < 3; ++i) {
        const int a = numbers[0] + i, b = numbers[1] * i, c = numbers[2] - i, d = numbers[3] ^ i;
        EXPECT_EQ(ThrownToMacFrame([&] { @throw first; }), first);
        EXPECT_EQ(a + b + c + d, 1 + i + 2 * i + 3 - i + (4 ^ i));
    }
}

}  // namespace

// exception_frames_test.mm - the setjmp-based exception frames on the GNU runtime and its Foundation.

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <csetjmp>
#include <thread>

extern "C" {
void objc_exception_try_enter(void* frame);
void objc_exception_try_exit(void* frame);
id objc_exception_extract(void* frame);
int objc_exception_match(Class exceptionClass, id exception);
}

namespace {

struct Frame {
    std::jmp_buf buffer;
    void* runtimeWords[4];
};

// Runs the work inside a frame and returns the object that it threw, or nil. Removes the frame.
template <typename Work>
id ThrownBy(Work work) {
    Frame frame;
    objc_exception_try_enter(&frame);
    if (_setjmp(frame.buffer) != 0) return objc_exception_extract(&frame);
    work();
    objc_exception_try_exit(&frame);
    return nil;
}

TEST(ExceptionFrames, ThrownObjectReachesTheFrameUnchanged) {
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    EXPECT_EQ(ThrownBy([&] { @throw thrown; }), thrown);
}

TEST(ExceptionFrames, ExceptionsThatFoundationRaisesReachTheFrame) {
    id undefinedKey = ThrownBy([] { [[[[NSObject alloc] init] autorelease] valueForKey:@"nothing"]; });
    EXPECT_TRUE([[undefinedKey name] isEqual:NSUndefinedKeyException]);
    id unknownMessage = ThrownBy([] { [reinterpret_cast<NSString*>([[[NSObject alloc] init] autorelease]) length]; });
    EXPECT_TRUE([[unknownMessage name] isEqual:NSInvalidArgumentException]);
    id range = ThrownBy([] { [[NSArray array] objectAtIndex:1]; });
    EXPECT_TRUE([[range name] isEqual:NSRangeException]);
}

TEST(ExceptionFrames, TheInnermostFrameCatchesAndTheOthersRemain) {
    NSObject* inner = [[[NSObject alloc] init] autorelease];
    NSObject* outer = [[[NSObject alloc] init] autorelease];
    id caughtInside = nil;
    id caughtOutside = ThrownBy([&] {
        caughtInside = ThrownBy([&] { @throw inner; });
        @throw outer;
    });
    EXPECT_EQ(caughtInside, inner);
    EXPECT_EQ(caughtOutside, outer);
}

TEST(ExceptionFrames, AFrameThatWasLeftCatchesNothing) {
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    EXPECT_EQ(ThrownBy([&] {
                  EXPECT_EQ(ThrownBy([] {}), nil);
                  @throw thrown;
              }),
              thrown);
}

TEST(ExceptionFrames, LeavingAFrameRemovesTheFramesInsideIt) {
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    EXPECT_EQ(ThrownBy([&] {
                  Frame outer, inner;
                  objc_exception_try_enter(&outer);
                  objc_exception_try_enter(&inner);
                  objc_exception_try_exit(&outer);
                  @throw thrown;
              }),
              thrown);
}

TEST(ExceptionFrames, WithoutAFrameTheRuntimeUnwindsToANativeCatch) {
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    id caught = nil;
    @try {
        @throw thrown;
    } @catch (id exception) {
        caught = exception;
    }
    EXPECT_EQ(caught, thrown);
}

TEST(ExceptionFrames, EachThreadHasItsOwnChain) {
    Frame frame;
    objc_exception_try_enter(&frame);
    bool caughtNatively = false;
    std::thread([&] {
        id thrown = [[NSObject alloc] init];
        @try {
            @throw thrown;
        } @catch (id) {
            caughtNatively = true;
        }
        [thrown release];
    }).join();
    objc_exception_try_exit(&frame);
    EXPECT_TRUE(caughtNatively);
}

TEST(ExceptionFrames, MatchAcceptsOnlyTheClassAndItsSubclasses) {
    NSException* exception = [NSException exceptionWithName:@"n" reason:nil userInfo:nil];
    EXPECT_TRUE(objc_exception_match([NSException class], exception));
    EXPECT_TRUE(objc_exception_match([NSObject class], exception));
    EXPECT_FALSE(objc_exception_match([NSException class], [[[NSObject alloc] init] autorelease]));
    EXPECT_FALSE(objc_exception_match([NSString class], exception));
    EXPECT_FALSE(objc_exception_match([NSException class], nil));
}

}  // namespace

// exception_frames_test.mm - the setjmp-based exception frames on the GNU runtime and its Foundation.

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <csetjmp>
#include <string>
#include <thread>

extern "C" {
void objc_exception_try_enter(void* frame);
void objc_exception_try_exit(void* frame);
id objc_exception_extract(void* frame);
int objc_exception_match(Class exceptionClass, id exception);
void CallWithoutUnwindTable(void (*function)());
}

asm(R"(
    .text
    .globl CallWithoutUnwindTable
    .type CallWithoutUnwindTable, @function
CallWithoutUnwindTable:
    subl $12, %esp
    calll *16(%esp)
    addl $12, %esp
    retl
    .size CallWithoutUnwindTable, .-CallWithoutUnwindTable
)");

namespace {

struct Frame {
    std::jmp_buf buffer;
    void* runtimeWords[4];
};

// Does the work in a function of its own. A handler in the function that holds a frame counts as outside the frame, so
// the compiler must not merge the two.
template <typename Work>
__attribute__((noinline)) void Do(Work& work) {
    work();
}

// Runs the work inside a frame and returns the object that it threw, or nil. Removes the frame.
template <typename Work>
id ThrownBy(Work work) {
    Frame frame;
    objc_exception_try_enter(&frame);
    if (_setjmp(frame.buffer) != 0) return objc_exception_extract(&frame);
    Do(work);
    objc_exception_try_exit(&frame);
    return nil;
}

// Runs the work inside a native handler and returns the object that it threw, or nil.
template <typename Work>
id CaughtNatively(Work work) {
    @try {
        work();
    } @catch (id thrown) {
        return thrown;
    }
    return nil;
}

// Runs an action when its scope is left.
template <typename Action>
struct AtEnd {
    Action action;
    ~AtEnd() { action(); }
};
template <typename Action>
AtEnd(Action) -> AtEnd<Action>;

__attribute__((noinline)) void ThrowObject(id object) { @throw object; }

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

TEST(ExceptionFrames, NativeHandlerInsideTheFrameCatches) {
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    id caught = nil;
    EXPECT_EQ(ThrownBy([&] { caught = CaughtNatively([&] { @throw thrown; }); }), nil);
    EXPECT_EQ(caught, thrown);
}

TEST(ExceptionFrames, FrameOutlivesAnExceptionThatIsHandledInsideIt) {
    NSObject* first = [[[NSObject alloc] init] autorelease];
    NSObject* second = [[[NSObject alloc] init] autorelease];
    EXPECT_EQ(ThrownBy([&] {
                  EXPECT_EQ(CaughtNatively([&] { @throw first; }), first);
                  @throw second;
              }),
              second);
}

TEST(ExceptionFrames, NativeHandlerInsideTheFrameThatDoesNotTakeTheClassIsPassedOver) {
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    EXPECT_EQ(ThrownBy([&] {
                  @try {
                      @throw thrown;
                  } @catch (NSException*) {
                      ADD_FAILURE() << "an NSObject is not an NSException";
                  }
              }),
              thrown);
}

TEST(ExceptionFrames, NativeHandlerOutsideTheFrameDoesNotCatch) {
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    id caught = nil;
    EXPECT_EQ(CaughtNatively([&] { caught = ThrownBy([&] { @throw thrown; }); }), nil);
    EXPECT_EQ(caught, thrown);
}

TEST(ExceptionFrames, FrameCatchesBeforeTheHandlerAroundItInTheSameFunction) {
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    id volatile caught = nil;
    @try {
        Frame frame;
        objc_exception_try_enter(&frame);
        if (_setjmp(frame.buffer) == 0) ThrowObject(thrown);
        caught = objc_exception_extract(&frame);
    } @catch (id) {
        ADD_FAILURE() << "the frame is nearer";
    }
    EXPECT_EQ(caught, thrown);
}

TEST(ExceptionFrames, DestructorsAndFinallyBlocksRunOnTheWayToTheFrame) {
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    std::string order;
    EXPECT_EQ(ThrownBy([&] {
                  const AtEnd outer{[&] { order += "outer "; }};
                  @try {
                      const AtEnd inner{[&] { order += "inner "; }};
                      @throw thrown;
                  } @finally {
                      order += "finally ";
                  }
              }),
              thrown);
    EXPECT_EQ(order, "inner finally outer ");
}

TEST(ExceptionFrames, CleanupsOfTheFunctionThatHoldsTheFrameAreLeftToIt) {
    static int ends;
    ends = 0;
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    {
        const AtEnd atEnd{[] { ++ends; }};
        Frame frame;
        objc_exception_try_enter(&frame);
        if (_setjmp(frame.buffer) == 0) ThrowObject(thrown);
        EXPECT_EQ(ends, 0);
        EXPECT_EQ(objc_exception_extract(&frame), thrown);
    }
    EXPECT_EQ(ends, 1);
}

TEST(ExceptionFrames, CleanupOnTheWayToTheFrameMayThrowAndCatchInsideItself) {
    NSObject* thrown = [[[NSObject alloc] init] autorelease];
    NSObject* other = [[[NSObject alloc] init] autorelease];
    id toFrame = nil, toHandler = nil;
    EXPECT_EQ(ThrownBy([&] {
                  const AtEnd cleanup{[&] {
                      toFrame = ThrownBy([&] { @throw other; });
                      toHandler = CaughtNatively([&] { @throw other; });
                  }};
                  @throw thrown;
              }),
              thrown);
    EXPECT_EQ(toFrame, other);
    EXPECT_EQ(toHandler, other);
}

TEST(ExceptionFrames, CodeWithoutUnwindTablesIsJumpedOver) {
    static NSObject* thrown = [[NSObject alloc] init];
    EXPECT_EQ(ThrownBy([] { CallWithoutUnwindTable([] { @throw thrown; }); }), thrown);
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

// main.mm - the main function of every test program: a pool for what the tests leave autoreleased.

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    const int result = RUN_ALL_TESTS();
    [pool release];
    return result;
}

// main.mm - the main function of every test program. Its pool releases the objects that tests autorelease.

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    const int result = RUN_ALL_TESTS();
    [pool release];
    return result;
}

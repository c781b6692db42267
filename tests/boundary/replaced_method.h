// replaced_method.h - a class method of the platform, replaced while a test runs.

#pragma once

#import <Foundation/Foundation.h>
#include <objc/runtime.h>

// Replaces +[target selector] for that class itself and those below it; its own one is back when this goes out of scope.
class ReplacedMethod {
  public:
    ReplacedMethod(Class target, SEL selector, IMP replacement) {
        Method inherited = class_getClassMethod(target, selector);
        // A method that a superclass implements becomes one of the target's own first, so that only the target changes.
        class_addMethod(object_getClass(target), selector, method_getImplementation(inherited),
                        method_getTypeEncoding(inherited));
        method_ = class_getClassMethod(target, selector);
        usual_ = method_setImplementation(method_, replacement);
    }
    ~ReplacedMethod() { method_setImplementation(method_, usual_); }
    ReplacedMethod(const ReplacedMethod&) = delete;

    IMP Usual() const { return usual_; }

  private:
    Method method_;
    IMP usual_;
};

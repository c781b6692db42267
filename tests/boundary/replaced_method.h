// replaced_method.h - a class method of the platform, replaced while a test runs.

#pragma once

#import <Foundation/Foundation.h>
#include <objc/runtime.h>

// Replaces +[target selector] for the class and its subclasses. The destructor restores the original.
class ReplacedMethod {
  public:
    ReplacedMethod(Class target, SEL selector, IMP replacement) {
        Method inherited = class_getClassMethod(target, selector);
        // An inherited method is first added to the target itself, so that the superclass keeps its own.
        class_addMethod(object_getClass(target), selector, method_getImplementation(inherited),
                        method_getTypeEncoding(inherited));
        method_ = class_getClassMethod(target, selector);
        original_ = method_setImplementation(method_, replacement);
    }
    ~ReplacedMethod() { method_setImplementation(method_, original_); }
    ReplacedMethod(const ReplacedMethod&) = delete;

    IMP Original() const { return original_; }

  private:
    Method method_;
    IMP original_;
};

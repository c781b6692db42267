// CIConstants.mm - the definitions that the list of CIConstants.h declares.

#import <CoreImage/CIConstants.h>

#define CI_DEFINE_CONSTANT(constant, string) NSString* const constant = @"" string;
CI_CONSTANTS(CI_DEFINE_CONSTANT)
#undef CI_DEFINE_CONSTANT

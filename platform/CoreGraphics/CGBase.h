// CGBase.h - the number type of Core Graphics: float on 32 bits, double on 64 bits.
//
// Foundation defines the same type. The two headers may be included in either order.

#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <float.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#define CG_EXTERN CF_EXPORT

#ifndef CGFLOAT_MAX
#if UINTPTR_MAX > 0xffffffff
#define CGFLOAT_IS_DBL 1
typedef double CGFloat;
#define CGFLOAT_MIN DBL_MIN
#define CGFLOAT_MAX DBL_MAX
#else
typedef float CGFloat;
#define CGFLOAT_MIN FLT_MIN
#define CGFLOAT_MAX FLT_MAX
#endif
#define CGFLOAT_DEFINED 1
#endif

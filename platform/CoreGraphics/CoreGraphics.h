// CoreGraphics.h - includes all of Core Graphics.

#pragma once

#include <CoreGraphics/CGAffineTransform.h>
#include <CoreGraphics/CGBase.h>
#include <CoreGraphics/CGColorSpace.h>
#include <CoreGraphics/CGDataProvider.h>
#include <CoreGraphics/CGGeometry.h>
#include <CoreGraphics/CGImage.h>

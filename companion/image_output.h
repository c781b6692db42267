// image_output.h - what comes out of an image when it is rendered: files, bytes, colors. Members of CIImageQOR.
//
// Failure: each raises for an image that is empty or without end, and for one too large to render.
// Threads: the host's thread.

#pragma once

#include "interface/handles.h"

// Save(path as string) and SaveWithQuality(path as string, quality as double): the picture in a file, PNG or JPEG by
// the suffix. Raises for another suffix, for a quality outside 0...1 and for what cannot be written.
void SaveImage(ZEVAobjectStruct* self, ZEVAstringStruct* path);
void SaveImageWithQuality(ZEVAobjectStruct* self, ZEVAstringStruct* path, double quality);

// SaveInSpace(path as string, quality as double, space as CGColorSpaceQOR): the same in another color space, whose
// profile is put into the file. Raises for nil, and for a space that is not of red, green and blue.
void SaveImageInSpace(ZEVAobjectStruct* self, ZEVAstringStruct* path, double quality, ZEVAobjectStruct* space);

// ToPNG() and ToJPEG(quality as double): the bytes of such a file.
ZEVAmemoryBlockStruct* ImageToPNG(ZEVAobjectStruct* self);
ZEVAmemoryBlockStruct* ImageToJPEG(ZEVAobjectStruct* self, double quality);

// Pixels(rectangle as CIVectorQOR): the pixels of a rectangle, which is rounded outward to whole pixels: straight RGBA,
// a byte each, in sRGB, the topmost row first. Places where the image is not are transparent.
ZEVAmemoryBlockStruct* ImagePixels(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle);

// Values(rectangle as CIVectorQOR): the same as the renderer has them: premultiplied RGBA, a float each, linear. For
// images whose pixels are numbers more than colors.
ZEVAmemoryBlockStruct* ImageValues(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle);

// ColorAt(x as double, y as double): the color of the pixel that holds a point.
ZEVAobjectStruct* ImageColorAt(ZEVAobjectStruct* self, double x, double y);

// image_output.h - the members of CIImageQOR that render: they write files and return bytes or colors.
//
// Failure: an image that cannot be rendered (empty, infinite or too large to save or encode) raises a RuntimeException.
// Owns:    results come with one reference for the caller; arguments are borrowed.
// Threads: the host's thread.

#pragma once

#include "interface/handles.h"

// Save(path as string) and SaveWithQuality(path as string, quality as double): writes a file with 8 bits per component,
// in the format that the suffix names. Raises for an unknown suffix, for a quality outside 0...1 and for a file that
// cannot be written.
void SaveImage(ZEVAobjectStruct* self, ZEVAstringStruct* path);
void SaveImageWithQuality(ZEVAobjectStruct* self, ZEVAstringStruct* path, double quality);

// SaveInSpace(path as string, quality as double, space as CGColorSpaceQOR): converts the colors to the space, writes
// the file and embeds the profile of the space. Also raises when the space is nil or not RGB.
void SaveImageInSpace(ZEVAobjectStruct* self, ZEVAstringStruct* path, double quality, ZEVAobjectStruct* space);

// SaveInWorkingSpace(path as string, workingSpace as CGColorSpaceQOR): like Save, but filters work on the numbers of
// the working space instead of linear light; nil switches color matching off, so that they see the numbers of the
// files. Also raises for a space that is not a curve for each of red, green and blue and a matrix.
void SaveImageInWorkingSpace(ZEVAobjectStruct* self, ZEVAstringStruct* path, ZEVAobjectStruct* workingSpace);

// SaveLike(path as string, source as CIImageQOR, options as string): writes a file with the depth, the color space and
// the metadata of the file that the source was opened from, as far as the new file's format can hold them. The options
// (save_options.h) change that. Without a source, the file has 8 bits in sRGB.
void SaveImageLike(ZEVAobjectStruct* self, ZEVAstringStruct* path, ZEVAobjectStruct* source, ZEVAstringStruct* options);

// CheckSave(path as string, options as string): raises what SaveLike would raise for any image, because of the options
// or the format of the path. An empty path checks the options alone. Writes nothing.
void CheckSave(ZEVAstringStruct* path, ZEVAstringStruct* options);

// ToPNG() and ToJPEG(quality as double): return the bytes of a file. Quality as above.
[[nodiscard]] ZEVAmemoryBlockStruct* ImageToPNG(ZEVAobjectStruct* self);
[[nodiscard]] ZEVAmemoryBlockStruct* ImageToJPEG(ZEVAobjectStruct* self, double quality);

// Pixels(rectangle as CIVectorQOR): returns the pixels of a rectangle, which is rounded outward to whole pixels. They
// are straight RGBA in sRGB, one byte per component, top row first. Pixels outside the image are transparent. Raises
// for a rectangle that is nil, empty or too large.
[[nodiscard]] ZEVAmemoryBlockStruct* ImagePixels(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle);

// ScreenPixels(rectangle as CIVectorQOR): like Pixels, but premultiplied by alpha, which is how screens blend them and
// takes less time.
[[nodiscard]] ZEVAmemoryBlockStruct* ImageScreenPixels(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle);

// Values(rectangle as CIVectorQOR): like Pixels, but returns what the renderer computes: premultiplied RGBA in linear
// light, one float per component. Useful for images that hold measurements rather than colors.
[[nodiscard]] ZEVAmemoryBlockStruct* ImageValues(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle);

// ColorAt(x as double, y as double): returns the color of the pixel that contains a point. Raises for NaN and infinity.
[[nodiscard]] ZEVAobjectStruct* ImageColorAt(ZEVAobjectStruct* self, double x, double y);

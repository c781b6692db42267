// ImageIO.h - reads and writes image files; includes all of Image I/O.

#pragma once

#include <ImageIO/CGImageDestination.h>
#include <ImageIO/CGImageFormat.h>
#include <ImageIO/CGImageSource.h>

// ImageIO.h - reading and writing image files.

#pragma once

#include <ImageIO/CGImageDestination.h>
#include <ImageIO/CGImageSource.h>

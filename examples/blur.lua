-- Softens a picture.
--
--   zeva run examples/blur.lua photo.jpg soft.png [RADIUS]

local input, output, radius = ...

local photo = CIImageQOR.Open(input)
local blur = CIFilterGaussianBlurQOR()
blur.inputImage, blur.inputRadius = photo, tonumber(radius) or 8

-- A blur reaches over the edges: the crop brings the picture back to its size.
blur.outputImage:Crop(photo.Extent):Save(output)

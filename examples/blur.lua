-- Softens a picture.
--
--   zeva run examples/blur.lua photo.jpg soft.png [RADIUS]

local input, output, radius = ...
if not output then
    io.stderr:write("usage: zeva run examples/blur.lua photo.jpg soft.png [RADIUS]\n")
    os.exit(2)
end

local photo = CIImageQOR.Open(input)
local blur = CIFilterGaussianBlurQOR()
blur.inputImage, blur.inputRadius = photo, tonumber(radius) or 8

-- The blurred image is larger than the photo: crop it back to the original size.
blur.outputImage:Crop(photo.Extent):Save(output)

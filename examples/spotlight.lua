-- Keeps one spot of a picture sharp and in color; everything around it becomes soft and gray.
--
--   zeva run examples/spotlight.lua photo.jpg spot.jpg [X Y RADIUS]     pixels from the lower left corner

local input, output, x, y, radius = ...
if not output then
    io.stderr:write("usage: zeva run examples/spotlight.lua photo.jpg spot.jpg [X Y RADIUS]\n")
    os.exit(2)
end

local photo = CIImageQOR.Open(input)
local extent = photo.Extent

-- Extend the picture beyond its edges to infinity, so that the blur does not darken them.
local clamp, blur, gray = CIFilterAffineClampQOR(), CIFilterGaussianBlurQOR(), CIFilterColorControlsQOR()
clamp.inputImage = photo
clamp.inputTransform = NSAffineTransformQOR.Identity()
blur.inputImage, blur.inputRadius = clamp.outputImage, extent.Width / 60
gray.inputImage, gray.inputSaturation = blur.outputImage:Crop(extent), 0

local mask = CIFilterGaussianGradientQOR()
mask.inputCenter = CIVectorQOR.Point(tonumber(x) or extent.Width / 2, tonumber(y) or extent.Height / 2)
mask.inputRadius = tonumber(radius) or extent.Width / 2
mask.inputColor0, mask.inputColor1 = CIColorQOR.Hex("#ffffff"), CIColorQOR.Hex("#000000")

local blend = CIFilterBlendWithMaskQOR()
blend.inputImage, blend.inputBackgroundImage = photo, gray.outputImage
blend.inputMaskImage = mask.outputImage:Crop(extent)

blend.outputImage:Crop(extent):Save(output)

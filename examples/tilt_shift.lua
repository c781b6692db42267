-- Makes a scene look like a miniature: a band stays sharp, the rest is blurred, and colors become stronger.
--
--   zeva run examples/tilt_shift.lua photo.jpg model.jpg [MIDDLE]     height of the band in the picture, 0 to 1

local input, output, middle = ...
if not output then
    io.stderr:write("usage: zeva run examples/tilt_shift.lua photo.jpg model.jpg [MIDDLE]\n")
    os.exit(2)
end

local photo = CIImageQOR.Open(input)
local extent = photo.Extent
local width, height = extent.Width, extent.Height
middle = tonumber(middle) or 0.4

-- A mask of one column, stretched to the picture's width: black in the band, white far from it.
local column = {}
for y = height - 1, 0, -1 do
    local distance = math.abs(y / height - middle)
    local softness = math.floor(255 * math.min(math.max((distance - 0.1) / 0.2, 0), 1))
    column[#column + 1] = string.char(softness, softness, softness, 255)
end
local mask = CIImageQOR.FromPixels(MemoryBlock.FromBytes(table.concat(column)), 1, height // 1)
    :Transform(NSAffineTransformQOR.Identity():Scale(width, 1))

local strong, clamp, blur = CIFilterColorControlsQOR(), CIFilterAffineClampQOR(), CIFilterDiscBlurQOR()
strong.inputImage, strong.inputSaturation, strong.inputContrast = photo, 1.4, 1.05
clamp.inputImage, clamp.inputTransform = strong.outputImage, NSAffineTransformQOR.Identity()
blur.inputImage, blur.inputRadius = clamp.outputImage, width / 80

local blend = CIFilterBlendWithMaskQOR()
blend.inputImage, blend.inputBackgroundImage = blur.outputImage:Crop(extent), strong.outputImage
blend.inputMaskImage = mask

blend.outputImage:Crop(extent):Save(output)

-- Puts a half-transparent mark into the lower right corner of a picture.
--
--   zeva run examples/watermark.lua photo.jpg mark.png marked.jpg

local input, mark_file, output = ...
if not output then
    io.stderr:write("usage: zeva run examples/watermark.lua photo.jpg mark.png marked.jpg\n")
    os.exit(2)
end

local photo = CIImageQOR.Open(input)
local mark = CIImageQOR.Open(mark_file)

-- The mark is a quarter as wide as the picture, with a margin of a twentieth of that width.
local width, margin = photo.Extent.Width / 4, photo.Extent.Width / 20
local scale = width / mark.Extent.Width
local place = NSAffineTransformQOR.Identity()
    :Scale(scale, scale)
    :Translate(photo.Extent.Width - width - margin, margin)

-- Halve the opacity of the mark.
local fade = CIFilterColorMatrixQOR()
fade.inputImage = mark:Transform(place)
fade.inputAVector = CIVectorQOR.FromNumbers("0 0 0 0.5")

fade.outputImage:Over(photo):Crop(photo.Extent):SaveWithQuality(output, 0.95)

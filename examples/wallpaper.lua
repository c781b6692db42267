-- Tiles small, slanted copies of a picture, like wallpaper.
--
--   zeva run examples/wallpaper.lua motif.png wallpaper.png [WIDTH HEIGHT]

local input, output, width, height = ...
if not output then
    io.stderr:write("usage: zeva run examples/wallpaper.lua motif.png wallpaper.png [WIDTH HEIGHT]\n")
    os.exit(2)
end

local motif = CIImageQOR.Open(input)
local tile = CIFilterAffineTileQOR()
tile.inputImage = motif
tile.inputTransform = NSAffineTransformQOR.Identity()
    :Scale(96 / motif.Extent.Width, 96 / motif.Extent.Width)
    :Rotate(math.rad(15))

-- The tiles are infinite: cut out a part of them.
local part = CIVectorQOR.Rectangle(0, 0, tonumber(width) or 640, tonumber(height) or 400)
tile.outputImage:Crop(part):Save(output)

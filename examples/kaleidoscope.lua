-- Turns a part of a picture into a pattern of eight mirrored copies.
--
--   zeva run examples/kaleidoscope.lua photo.jpg pattern.png [SIZE]

local input, output, size = ...
if not output then
    io.stderr:write("usage: zeva run examples/kaleidoscope.lua photo.jpg pattern.png [SIZE]\n")
    os.exit(2)
end
size = tonumber(size) or 600

local photo = CIImageQOR.Open(input)
local middle = CIVectorQOR.Point(photo.Extent.Width / 2, photo.Extent.Height / 2)

local mirrors = CIFilterEightfoldReflectedTileQOR()
mirrors.inputImage, mirrors.inputCenter = photo, middle
mirrors.inputAngle, mirrors.inputWidth = 0, photo.Extent.Width / 2

-- The pattern is infinite. Cut out a square around the middle, where the mirrors meet.
mirrors.outputImage
    :Crop(CIVectorQOR.Rectangle(middle.X - size / 2, middle.Y - size / 2, size, size))
    :Save(output)

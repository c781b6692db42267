-- Finds the colors of a picture: prints the averages of twelve parts of it and draws them below the picture.
--
--   zeva run examples/palette.lua photo.jpg palette.png

local input, output = ...
if not output then
    io.stderr:write("usage: zeva run examples/palette.lua photo.jpg palette.png\n")
    os.exit(2)
end
local columns, rows = 4, 3

local photo = CIImageQOR.Open(input)
local extent = photo.Extent
local strip = math.floor(extent.Height / 8)
local sheet = photo:Transform(NSAffineTransformQOR.Identity():Translate(0, strip))

local average = CIFilterAreaAverageQOR()
average.inputImage = photo

for row = 0, rows - 1 do
    for column = 0, columns - 1 do
        local w, h = extent.Width / columns, extent.Height / rows
        average.inputExtent = CIVectorQOR.Rectangle(column * w, row * h, w, h)
        local color = average.outputImage:ColorAt(0, 0) -- an image of one pixel
        local function byte(component) return math.floor(component * 255 + 0.5) end
        print(("#%02x%02x%02x"):format(byte(color.Red), byte(color.Green), byte(color.Blue)))

        local index, step = row * columns + column, extent.Width / (columns * rows)
        local swatch = CIVectorQOR.Rectangle(index * step, 0, step, strip)
        sheet = CIImageQOR.FromColor(color):Crop(swatch):Over(sheet)
    end
end

sheet:Crop(CIVectorQOR.Rectangle(0, 0, extent.Width, extent.Height + strip)):Save(output)

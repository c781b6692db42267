-- Grades the colors of a picture with a color cube: shadows turn teal, highlights turn orange.
--
--   zeva run examples/grade.lua photo.jpg graded.jpg

local input, output = ...
if not output then
    io.stderr:write("usage: zeva run examples/grade.lua photo.jpg graded.jpg\n")
    os.exit(2)
end
local size = 16

-- Returns the graded color. The cube holds the results for size^3 colors; colors between them are interpolated.
local function graded(red, green, blue)
    local light = 0.2126 * red + 0.7152 * green + 0.0722 * blue
    local push = 0.18 * (2 * light - 1) -- negative in the shadows
    local function clip(x) return math.min(math.max(x, 0), 1) end
    return clip(red + push), clip(green + 0.2 * push), clip(blue - push)
end

-- Red changes fastest; each color is four floats.
local colors = {}
for b = 0, size - 1 do
    for g = 0, size - 1 do
        for r = 0, size - 1 do
            local red, green, blue = graded(r / (size - 1), g / (size - 1), b / (size - 1))
            colors[#colors + 1] = string.pack("<ffff", red, green, blue, 1)
        end
    end
end

local photo = CIImageQOR.Open(input)
local cube = CIFilterColorCubeWithColorSpaceQOR()
cube.inputImage = photo
cube.inputCubeDimension, cube.inputCubeData = size, MemoryBlock.FromBytes(table.concat(colors))
cube.inputColorSpace = CGColorSpaceQOR.Named("sRGB") -- the cube holds encoded colors, not linear ones

cube.outputImage:Save(output)

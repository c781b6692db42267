-- Grades the colors of a picture with a cube: shadows turn to teal, lights to orange.
--
--   zeva run examples/grade.lua photo.jpg graded.jpg

local input, output = ...
local size = 16

-- What becomes of a color. The cube holds the answer for size^3 colors; those between are interpolated.
local function graded(red, green, blue)
    local light = 0.2126 * red + 0.7152 * green + 0.0722 * blue
    local push = 0.18 * (2 * light - 1) -- negative in the shadows
    local function clip(x) return math.min(math.max(x, 0), 1) end
    return clip(red + push), clip(green + 0.2 * push), clip(blue - push)
end

-- Red runs fastest; each color is four floats.
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
cube.inputColorSpace = CGColorSpaceQOR.Named("sRGB") -- the cube speaks of encoded colors, as people see them

cube.outputImage:Save(output)

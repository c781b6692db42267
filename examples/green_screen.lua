-- Replaces the green screen behind an actor with another picture.
--
--   zeva run examples/green_screen.lua actor.png background.jpg together.png

local actor_file, background_file, output = ...
if not output then
    io.stderr:write("usage: zeva run examples/green_screen.lua actor.png background.jpg together.png\n")
    os.exit(2)
end
local size = 32

-- A color cube that makes green transparent: alpha falls from 1 to 0 as green exceeds red and blue.
local colors = {}
for b = 0, size - 1 do
    for g = 0, size - 1 do
        for r = 0, size - 1 do
            local red, green, blue = r / (size - 1), g / (size - 1), b / (size - 1)
            local excess = green - math.max(red, blue)
            local alpha = math.min(math.max((0.4 - excess) / 0.3, 0), 1)
            -- Colors in a cube are premultiplied by alpha. Excess green is removed so that edges do not shine.
            green = math.min(green, math.max(red, blue))
            colors[#colors + 1] = string.pack("<ffff", red * alpha, green * alpha, blue * alpha, alpha)
        end
    end
end

local actor = CIImageQOR.Open(actor_file)
local background = CIImageQOR.Open(background_file)
local key = CIFilterColorCubeWithColorSpaceQOR()
key.inputImage, key.inputColorSpace = actor, CGColorSpaceQOR.Named("sRGB")
key.inputCubeDimension, key.inputCubeData = size, MemoryBlock.FromBytes(table.concat(colors))

local fit = NSAffineTransformQOR.Identity()
    :Scale(actor.Extent.Width / background.Extent.Width, actor.Extent.Height / background.Extent.Height)
key.outputImage:Over(background:Transform(fit)):Crop(actor.Extent):Save(output)

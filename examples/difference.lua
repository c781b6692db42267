-- Shows where two pictures differ, and prints the largest difference of a component, from 0 to 255.
--
--   zeva run examples/difference.lua one.png two.png difference.png
--
-- The exit status is 1 when they differ.

local one_file, two_file, output = ...
if not output then
    io.stderr:write("usage: zeva run examples/difference.lua one.png two.png difference.png\n")
    os.exit(2)
end

local one = CIImageQOR.Open(one_file)
local two = CIImageQOR.Open(two_file)
if one.Extent.Text ~= two.Extent.Text then error("the pictures have different sizes", 0) end

local difference = CIFilterDifferenceBlendModeQOR()
difference.inputImage, difference.inputBackgroundImage = one, two

local maximum = CIFilterAreaMaximumQOR()
maximum.inputImage, maximum.inputExtent = difference.outputImage, one.Extent
local color = maximum.outputImage:ColorAt(0, 0)
local steps = math.floor(math.max(color.Red, color.Green, color.Blue) * 255 + 0.5)

-- Eight times as bright, so that small differences are visible.
local bright = CIFilterExposureAdjustQOR()
bright.inputImage, bright.inputEV = difference.outputImage, 3
bright.outputImage:Crop(one.Extent):Save(output)

print(steps)
os.exit(steps == 0 and 0 or 1)

-- Makes and drops a hundred thousand objects of many kinds, and says what that leaves behind.
--
--   zeva run soak.lua [COUNT]
--
-- Prints the size of the process in kilobytes after a tenth of the objects and at the end.

local count = tonumber((...)) or 100000

local function resident()
    collectgarbage()
    local pages = io.open("/proc/self/statm"):read("a"):match("%d+ (%d+)")
    return pages * 4
end

local picture = CIImageQOR.FromPixels(MemoryBlock.FromBytes(("\200\100\50\255"):rep(64)), 8, 8):ToPNG()
local made = 0

-- Eighteen objects, each of which others hold while they are needed.
local function round()
    local photo = CIImageQOR.FromData(picture)
    local blur, colours = CIFilterGaussianBlurQOR(), CIFilterColorControlsQOR()
    blur.inputImage, blur.inputRadius = photo, 2
    colours.inputImage, colours.inputSaturation = blur.outputImage, 0.5
    local step = NSAffineTransformQOR.Identity():Scale(2, 2):Rotate(0.3)
    local result = colours.outputImage:Transform(step):Crop(photo.Extent)
    assert(blur.AttributeinputRadius.Default == 10)
    assert(CIColorQOR.Hex("#ff8000"):WithAlpha(0.5).Alpha == 0.5)
    assert(result:Pixels(CIVectorQOR.Rectangle(1, 1, 2, 2)).Size == 16)
    assert(not pcall(function() photo:Crop(CIVectorQOR.Point(1, 2)) end))
    made = made + 18
end

while made < count / 10 do round() end
local before = resident()
while made < count do round() end
print(made, before, resident())

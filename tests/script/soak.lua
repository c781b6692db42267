-- Makes and drops objects of many kinds. The argument is their minimum number.

local count = tonumber((...))
local picture = CIImageQOR.FromPixels(MemoryBlock.FromBytes(("\200\100\50\255"):rep(64)), 8, 8):ToPNG()
local made = 0

-- Makes eighteen objects; some of them hold others.
local function round()
    local photo = CIImageQOR.FromData(picture)
    local blur, colors = CIFilterGaussianBlurQOR(), CIFilterColorControlsQOR()
    blur.inputImage, blur.inputRadius = photo, 2
    colors.inputImage, colors.inputSaturation = blur.outputImage, 0.5
    local step = NSAffineTransformQOR.Identity():Scale(2, 2):Rotate(0.3)
    local result = colors.outputImage:Transform(step):Crop(photo.Extent)
    assert(blur.AttributeinputRadius.Default == 10)
    assert(CIColorQOR.Hex("#ff8000"):WithAlpha(0.5).Alpha == 0.5)
    assert(result:Pixels(CIVectorQOR.Rectangle(1, 1, 2, 2)).Size == 16)
    assert(not pcall(function() photo:Crop(CIVectorQOR.Point(1, 2)) end))
    made = made + 18
end

while made < count do round() end

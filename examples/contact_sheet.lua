-- Shows a picture at many settings on one sheet: exposure increases to the right, saturation upward.
--
--   zeva run examples/contact_sheet.lua photo.jpg sheet.jpg

local input, output = ...
if not output then
    io.stderr:write("usage: zeva run examples/contact_sheet.lua photo.jpg sheet.jpg\n")
    os.exit(2)
end
local exposures, saturations = { -1, -0.5, 0, 0.5, 1 }, { 0, 0.5, 1, 1.5 }
local cell, gap = 120, 8

local photo = CIImageQOR.Open(input)
local scale = cell / photo.Extent.Width
local small = photo:Transform(NSAffineTransformQOR.Identity():Scale(scale, scale))
local width, height = cell, math.floor(photo.Extent.Height * scale)
small = small:Crop(CIVectorQOR.Rectangle(0, 0, width, height))

local whole = CIVectorQOR.Rectangle(
    0, 0, gap + #exposures * (width + gap), gap + #saturations * (height + gap))
local sheet = CIImageQOR.FromColor(CIColorQOR.Hex("#202020")):Crop(whole)

for row, saturation in ipairs(saturations) do
    for column, exposure in ipairs(exposures) do
        local expose, color = CIFilterExposureAdjustQOR(), CIFilterColorControlsQOR()
        expose.inputImage, expose.inputEV = small, exposure
        color.inputImage, color.inputSaturation = expose.outputImage, saturation
        local place = NSAffineTransformQOR.Identity()
            :Translate(gap + (column - 1) * (width + gap), gap + (row - 1) * (height + gap))
        sheet = color.outputImage:Transform(place):Over(sheet)
    end
end

sheet:Save(output)

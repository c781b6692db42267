-- Writes the frames of a transition from one picture to another: frame-00.png, frame-01.png ...
--
--   zeva run examples/transition.lua from.jpg to.jpg FOLDER [COUNT] [dissolve | bars | flash | copy]

local from_file, to_file, folder, count, kind = ...
if not folder then
    io.stderr:write(
        "usage: zeva run examples/transition.lua from.jpg to.jpg FOLDER [COUNT] [dissolve | bars | flash | copy]\n")
    os.exit(2)
end

local kinds = {
    dissolve = CIFilterDissolveTransitionQOR,
    bars = CIFilterBarsSwipeTransitionQOR,
    flash = CIFilterFlashTransitionQOR,
    copy = CIFilterCopyMachineTransitionQOR,
}
local class = kinds[kind or "dissolve"] or error("unknown transition '" .. kind .. "'")

local from, to = CIImageQOR.Open(from_file), CIImageQOR.Open(to_file)
local extent = from.Extent

-- Scale the second picture to the size of the first.
local scale = NSAffineTransformQOR.Identity()
to = to:Transform(scale:Scale(extent.Width / to.Extent.Width, extent.Height / to.Extent.Height))

local transition = class()
transition.inputImage, transition.inputTargetImage = from, to
-- Only some transitions have an extent or a center. For the others, setting it raises an error, which is ignored.
pcall(function() transition.inputExtent = extent end)
pcall(function() transition.inputCenter = CIVectorQOR.Point(extent.Width / 2, extent.Height / 2) end)

local last = (tonumber(count) or 10) - 1
for frame = 0, last do
    transition.inputTime = frame / math.max(last, 1) -- a single frame is the first picture
    transition.outputImage:Crop(extent):Save(("%s/frame-%02d.png"):format(folder, frame))
end

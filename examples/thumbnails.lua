-- Makes small JPEG versions of many pictures: upright, 160 pixels on the longer side.
--
--   zeva run examples/thumbnails.lua thumbnails *.jpg *.png
--
-- Reports and skips pictures that cannot be read; the exit status is then 1.

local folder = ...
if select("#", ...) < 2 then
    io.stderr:write("usage: zeva run examples/thumbnails.lua thumbnails *.jpg *.png\n")
    os.exit(2)
end
local longest = 160
local failures = 0

for i = 2, select("#", ...) do
    local input = select(i, ...)
    local name = input:match("([^/]+)%.%w+$") or input
    local done, failure = pcall(function()
        -- <close> frees the picture's memory before the next one is opened.
        local photo <close> = CIImageQOR.Open(input)
        local extent = photo.Extent
        local scale = math.min(1, longest / math.max(extent.Width, extent.Height))

        -- Blur slightly before scaling down, to avoid aliasing.
        local blur = CIFilterGaussianBlurQOR()
        blur.inputImage, blur.inputRadius = photo, 0.4 / scale
        local whole = NSAffineTransformQOR.Identity():Scale(scale, scale)
        local width, height = math.floor(extent.Width * scale + 0.5), math.floor(extent.Height * scale + 0.5)
        blur.outputImage
            :Crop(extent)
            :Transform(whole)
            :Crop(CIVectorQOR.Rectangle(0, 0, width, height))
            :SaveWithQuality(folder .. "/" .. name .. ".jpg", 0.8)
    end)
    if not done then
        io.stderr:write(tostring(failure), "\n")
        failures = failures + 1
    end
end

os.exit(failures == 0 and 0 or 1)

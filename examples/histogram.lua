-- Draws the histogram of a picture for red, green and blue.
--
--   zeva run examples/histogram.lua photo.jpg histogram.png

local input, output = ...
if not output then
    io.stderr:write("usage: zeva run examples/histogram.lua photo.jpg histogram.png\n")
    os.exit(2)
end
local bins, height = 256, 128

local photo = CIImageQOR.Open(input)

-- Filters work in linear light, where middle gray is only 0.2. The power spaces the shades as the eye sees them.
local shades = CIFilterGammaAdjustQOR()
shades.inputImage, shades.inputPower = photo, 1 / 2.2

local histogram = CIFilterAreaHistogramQOR()
histogram.inputImage, histogram.inputExtent = shades.outputImage, photo.Extent
histogram.inputCount, histogram.inputScale = bins, 1

-- The result is an image of one row with one pixel per bin: the fraction of the picture in that bin, for each color.
-- These are numbers rather than colors, so they are read as values: four floats per pixel.
local row = histogram.outputImage:Values(CIVectorQOR.Rectangle(0, 0, bins, 1)).Bytes
local shares, largest = {}, 0
for bin = 1, bins do
    shares[bin] = { string.unpack("fff", row, (bin - 1) * 16 + 1) }
    largest = math.max(largest, shares[bin][1], shares[bin][2], shares[bin][3])
end

-- Draw from the top row down: a pixel is lit in each color whose bar reaches it.
local pixels = {}
for y = height, 1, -1 do
    for bin = 1, bins do
        local lit = {}
        for c = 1, 3 do lit[c] = shares[bin][c] / largest * height >= y and 255 or 24 end
        pixels[#pixels + 1] = string.char(lit[1], lit[2], lit[3], 255)
    end
end
CIImageQOR.FromPixels(MemoryBlock.FromBytes(table.concat(pixels)), bins, height):Save(output)

-- Prepares the pictures that the samples use, in the current folder:
--
--   photo.jpg      the photo, at most 800 pixels on its longer side
--   second.jpg     another picture of the same size: the next photo, or this one mirrored and recolored
--   mask.jpg       a soft white disc on black
--   spot.png       the same disc in orange, transparent outside
--   clouds.jpg     soft spots of gray
--   waves.png      two waves: red from left to right, green upward
--   gradient.png   black over red and orange to pale yellow
--
--   zeva run prepare.lua PHOTO [NEXT_PHOTO]

local file, next_file = ...
local longest = 800

-- A picture at another scale. A blur first removes the details that the smaller picture cannot show; they would alias.
local function scaled(picture, scale)
    if scale < 1 then
        local clamp, blur = CIFilterAffineClampQOR(), CIFilterGaussianBlurQOR()
        clamp.inputImage, clamp.inputTransform = picture, NSAffineTransformQOR.Identity()
        blur.inputImage, blur.inputRadius = clamp.outputImage, 0.4 / scale
        picture = blur.outputImage:Crop(picture.Extent)
    end
    return picture:Transform(NSAffineTransformQOR.Identity():Scale(scale, scale))
end

local function byte(part) return math.floor(math.max(0, math.min(1, part)) * 255 + 0.5) end

-- A picture whose pixels are returned by color(x, y), y downward: red, green, blue and alpha from 0 to 1.
local function drawn(width, height, color)
    local pixels = {}
    for y = 0, height - 1 do
        for x = 0, width - 1 do
            local r, g, b, a = color(x, y)
            pixels[#pixels + 1] = string.char(byte(r), byte(g), byte(b), byte(a))
        end
    end
    return CIImageQOR.FromPixels(MemoryBlock.FromBytes(table.concat(pixels)), width, height)
end

local original = CIImageQOR.Open(file)
local scale = math.min(1, longest / math.max(original.Extent.Width, original.Extent.Height))
local w = math.max(1, math.floor(original.Extent.Width * scale))
local h = math.max(1, math.floor(original.Extent.Height * scale))
local frame = CIVectorQOR.Rectangle(0, 0, w, h)
local paper = CIImageQOR.FromColor(CIColorQOR.Hex("#ffffff"))
local photo = scaled(original, scale):Over(paper):Crop(frame)
photo:SaveWithQuality("photo.jpg", 0.92)

if next_file then
    local other = CIImageQOR.Open(next_file)
    local fit = math.max(w / other.Extent.Width, h / other.Extent.Height)
    other = scaled(other, fit)
    local dx, dy = (w - other.Extent.Width) / 2, (h - other.Extent.Height) / 2
    local middle = NSAffineTransformQOR.Identity():Translate(dx, dy)
    other:Transform(middle):Over(paper):Crop(frame):SaveWithQuality("second.jpg", 0.92)
else
    local paint = CIFilterFalseColorQOR()
    paint.inputImage = photo:Transform(NSAffineTransformQOR.Identity():Scale(-1, 1):Translate(w, 0))
    paint.inputColor0, paint.inputColor1 = CIColorQOR.Hex("#0b2a5c"), CIColorQOR.Hex("#ffdf9e")
    paint.outputImage:Crop(frame):SaveWithQuality("second.jpg", 0.92)
end

local function disc(x, y)
    local distance = math.sqrt((x - w / 2) ^ 2 + (y - h * 0.4) ^ 2) / (0.45 * math.min(w, h))
    return 3 * (1.1 - distance)
end
drawn(w, h, function(x, y) local v = disc(x, y) return v, v, v, 1 end):SaveWithQuality("mask.jpg", 0.92)
drawn(w, h, function(x, y) return 0.9, 0.5, 0.2, disc(x, y) end):Save("spot.png")

-- Sums of a few waves without a common period look like clouds.
drawn(w, h, function(x, y)
    local v = 0
    for i = 1, 4 do
        local angle, length = i * 2.4, 0.35 * w / i ^ 0.8
        v = v + math.sin((x * math.cos(angle) + y * math.sin(angle)) * 2 * math.pi / length + i * i) / i ^ 0.5
    end
    v = 0.5 + v / 4
    return v, v, v, 1
end):SaveWithQuality("clouds.jpg", 0.92)

drawn(w, h, function(x, y)
    local length = w / 6
    return 0.5 + 0.5 * math.sin(2 * math.pi * x / length), 0.5 + 0.5 * math.sin(2 * math.pi * y / length), 0.5, 1
end):Save("waves.png")

drawn(256, 1, function(x)
    local t = x / 255
    return 3 * t, 1.8 * t - 0.5, 3 * t - 2.2, 1
end):Save("gradient.png")

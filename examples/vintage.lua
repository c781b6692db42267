-- Makes a picture look old: faded blacks, warm tones, darker corners.
--
--   zeva run examples/vintage.lua photo.jpg old.jpg

local input, output = ...
if not output then
    io.stderr:write("usage: zeva run examples/vintage.lua photo.jpg old.jpg\n")
    os.exit(2)
end

local photo = CIImageQOR.Open(input)
local extent = photo.Extent

-- Each component x becomes a + b x + c x^2 + d x^3: black is lifted, most of all in red.
local fade = CIFilterColorPolynomialQOR()
fade.inputImage = photo
fade.inputRedCoefficients = CIVectorQOR.FromNumbers("0.06 0.90 0.10 -0.10")
fade.inputGreenCoefficients = CIVectorQOR.FromNumbers("0.04 0.85 0.10 -0.10")
fade.inputBlueCoefficients = CIVectorQOR.FromNumbers("0.05 0.70 0.10 -0.15")

-- Halfway to a single brown tone.
local tone = CIFilterColorMonochromeQOR()
tone.inputImage = fade.outputImage
tone.inputColor = CIColorQOR.Hex("#d8b080")
tone.inputIntensity = 0.5

-- The same picture, one and a half stops darker, shown where a round mask is black.
local darker = CIFilterExposureAdjustQOR()
darker.inputImage, darker.inputEV = tone.outputImage, -1.5

local mask = CIFilterGaussianGradientQOR()
mask.inputCenter = CIVectorQOR.Point(extent.Width / 2, extent.Height / 2)
mask.inputRadius = 0.75 * math.max(extent.Width, extent.Height)
mask.inputColor0, mask.inputColor1 = CIColorQOR.Hex("#ffffff"), CIColorQOR.Hex("#000000")

local vignette = CIFilterBlendWithMaskQOR()
vignette.inputImage, vignette.inputBackgroundImage = tone.outputImage, darker.outputImage
vignette.inputMaskImage = mask.outputImage:Crop(extent)

vignette.outputImage:Crop(extent):Save(output)

// preview.js - draws a picture that came as JPEGs and the alpha of translucent parts (host/studio/preview.h). The JPEGs
// are decoded outside the page's thread.

const TYPE = "image/jpeg";

// Not every browser has a decoder that gives pixels; the other way takes longer.
let hasDecoder = "ImageDecoder" in globalThis;

let kept = new Uint8ClampedArray(0);

// Memory that is used again by the next picture: to get it anew takes longer than to fill it.
function memory(size) {
  if (kept.length < size) kept = new Uint8ClampedArray(size);
  return kept.subarray(0, size);
}

async function decodeInto(pixels, data) {
  const decoder = new ImageDecoder({ data, type: TYPE });
  const { image } = await decoder.decode();
  await image.copyTo(pixels, { format: "RGBA" });
  image.close();
  decoder.close();
}

// The stripes of a preview as {y, image}, and its parts. Only one may be in use.
export async function decodedPreview({ stripes, translucent = [], clear = [], part }, bytes) {
  const width = part[2];
  const pixels = memory(4 * width * part[3]);
  let start = 0;
  const files = stripes.map(([y, height, length]) => {
    start += length;
    return { y, height, data: bytes.subarray(start - length, start) };
  });
  const images = files.map(async ({ y, height, data }) => {
    const target = pixels.subarray(4 * width * y, 4 * width * (y + height));
    try {
      if (hasDecoder) await decodeInto(target, data);
    } catch {
      hasDecoder = false;
    }
    return { y, image: hasDecoder ? new ImageData(target, width, height)
      : await createImageBitmap(new Blob([data], { type: TYPE })) };
  });
  return { images: await Promise.all(images), translucent, clear, alpha: bytes.subarray(start) };
}

export function drawPreview(context, { images, translucent, clear, alpha }) {
  for (const { y, image } of images) {
    if (image instanceof ImageData) {
      context.putImageData(image, 0, y);
    } else {
      context.drawImage(image, 0, y);
      image.close();
    }
  }
  for (const rectangle of clear) context.clearRect(...rectangle);
  let at = 0;
  for (const [x, y, width, height] of translucent) {
    const image = context.getImageData(x, y, width, height);
    const { data } = image;
    for (let i = 3; i < data.length; i += 4) {
      const opacity = alpha[at++];
      // A canvas takes colors that are not multiplied by alpha. It keeps what is above 255 at that.
      const by = opacity === 0 ? 0 : 255 / opacity;
      data[i - 3] *= by;
      data[i - 2] *= by;
      data[i - 1] *= by;
      data[i] = opacity;
    }
    context.putImageData(image, x, y);
  }
}

// vips_chain.c - chains of operations in libvips, for the benchmark of files: its command line runs one at a time, with
// files in between.
//
//   vips_chain blur IN OUT SIGMA                   a Gaussian blur
//   vips_chain matrix IN OUT LONGER_SIDE M...      a thumbnail, then a color matrix of nine numbers
//   vips_chain matrix+blur IN OUT SIGMA M...       a color matrix, then a blur
//   vips_chain difference IN IN                    prints the root mean square of the difference, of the whole range
//
// OUT may have options of the format in brackets, such as out.jpg[Q=90]. Everything is streamed where libvips can.

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <vips/vips.h>

// Returns the image with its colors multiplied by a matrix, as bytes.
static VipsImage* WithMatrix(VipsImage* image, char** numbers) {
    double weights[9];
    for (int index = 0; index < 9; ++index) weights[index] = atof(numbers[index]);
    VipsImage* matrix = vips_image_new_matrix_from_array(3, 3, weights, 9);
    VipsImage *product = NULL, *bytes = NULL;
    if (vips_recomb(image, &product, matrix, NULL) || vips_cast_uchar(product, &bytes, NULL)) vips_error_exit(NULL);
    return bytes;
}

// Returns the blurred image. Weights below those at three sigmas are dropped.
static VipsImage* Blurred(VipsImage* image, const char* sigma) {
    VipsImage* blurred = NULL;
    if (vips_gaussblur(image, &blurred, atof(sigma), "min_ampl", 0.0111, NULL)) vips_error_exit(NULL);
    return blurred;
}

static VipsImage* Opened(const char* path) {
    VipsImage* image = vips_image_new_from_file(path, "access", VIPS_ACCESS_SEQUENTIAL, NULL);
    if (image == NULL) vips_error_exit(NULL);
    return image;
}

// Returns the image without alpha.
static VipsImage* Colors(VipsImage* image) {
    VipsImage* colors = image;
    if (image->Bands > 3 && vips_extract_band(image, &colors, 0, "n", 3, NULL)) vips_error_exit(NULL);
    return colors;
}

static double Difference(VipsImage* one, VipsImage* other) {
    VipsImage *difference = NULL, *square = NULL;
    double mean = 0;
    if (one->Xsize != other->Xsize || one->Ysize != other->Ysize || one->BandFmt != other->BandFmt) {
        vips_error_exit("the sizes or depths differ");
    }
    if (vips_subtract(one, other, &difference, NULL) || vips_multiply(difference, difference, &square, NULL) ||
        vips_avg(square, &mean, NULL)) {
        vips_error_exit(NULL);
    }
    return sqrt(mean) / (one->BandFmt == VIPS_FORMAT_UCHAR ? 255 : 65535);
}

int main(int count, char** words) {
    if (VIPS_INIT(words[0])) return 2;
    if (count == 4 && strcmp(words[1], "difference") == 0) {
        printf("%.9f\n", Difference(Colors(Opened(words[2])), Colors(Opened(words[3]))));
        return 0;
    }
    if (count < 5) return 2;
    const char *operation = words[1], *in = words[2], *out = words[3], *number = words[4];
    VipsImage* image = NULL;
    if (strcmp(operation, "blur") == 0) {
        image = Blurred(Opened(in), number);
    } else if (strcmp(operation, "matrix") == 0 && count == 14) {
        if (vips_thumbnail(in, &image, atoi(number), NULL)) vips_error_exit(NULL);
        image = WithMatrix(image, words + 5);
    } else if (strcmp(operation, "matrix+blur") == 0 && count == 14) {
        image = Blurred(WithMatrix(Opened(in), words + 5), number);
    } else {
        return 2;
    }
    if (vips_image_write_to_file(image, out, NULL)) vips_error_exit(NULL);
    return 0;
}

/* Calls every exported operation through tov.h from C99, with results that a caller can see. */
#include <stdio.h>
#include <string.h>
#include <tov.h>

static int failures = 0;
static TovStatus reported = TOV_STS_OK;

static void expect(int holds, const char* what) {
    if (!holds) {
        printf("failed: %s\n", what);
        ++failures;
    }
}

static TovStatus onError(TovStatus status, const char* funcName, const char* context, const char* file, int32_t line) {
    expect(funcName != NULL && context != NULL && file != NULL && line > 0, "a report has all its texts and its line");
    reported = status;
    return 0;
}

static TovImage* newGray(int32_t width, int32_t height, int32_t value) {
    TovImage* image = tovCreateImageHeader(1, 0, TOV_DEPTH_8U, "GRAY", "G", TOV_DATA_ORDER_PIXEL, TOV_ORIGIN_TL,
                                           TOV_ALIGN_4BYTES, width, height, NULL, NULL, NULL, NULL);
    if (image != NULL) {
        tovAllocateImage(image, 1, value);
    }
    return image;
}

static void errors(void) {
    const TovErrorCallback former = tovRedirectError(onError);
    expect(tovRedirectError(onError) == onError, "tovRedirectError returns the handler that was in force");
    expect(former != onError, "a thread does not start with our handler");
    expect(tovGetErrStatus() == TOV_STS_OK, "a thread starts without a failure");
    tovAdd(NULL, NULL, NULL);
    expect(reported == TOV_STS_BAD_ARG && tovGetErrStatus() == TOV_STS_BAD_ARG, "a failure is reported and kept");
    tovSetErrStatus(TOV_STS_OK);
    expect(tovGetErrStatus() == TOV_STS_OK, "tovSetErrStatus stores the status");
    expect(strcmp(tovErrorStr(-12345), "Unknown error or status code") == 0, "tovErrorStr knows unknown codes");
}

static void version(void) {
    const TovLibVersion* record = tovGetLibVersion();
    expect(record->major == 2 && record->minor == 1 && record->build == 58, "the version is 2.1.58");
}

static void images(void) {
    TovImage* a = newGray(5, 3, 200);
    TovImage* b = newGray(5, 3, 100);
    TovImage* sum = newGray(5, 3, 0);
    expect(a != NULL && b != NULL && sum != NULL, "headers are made");
    if (a != NULL && b != NULL && sum != NULL) {
        expect(a->imageData != NULL && a->imageData[0] == 200, "pixels are allocated and filled");
        tovSetBorderMode(a, TOV_BORDER_REFLECT, TOV_SIDE_BIT(TOV_SIDE_LEFT), 7);
        expect(a->borderMode[TOV_SIDE_LEFT] == TOV_BORDER_REFLECT && a->borderMode[TOV_SIDE_TOP] == TOV_BORDER_CONSTANT,
               "the named side's border mode is set");
        tovAdd(a, b, sum);
        expect(sum->imageData[0] == 255, "tovAdd saturates");
        tovSubtract(a, b, sum);
        expect(sum->imageData[4] == 100, "tovSubtract subtracts");
        tovCopy(a, sum);
        expect(sum->imageData[0] == 200, "tovCopy copies");
        tovMultiplySScale(a, sum, 128);
        expect(sum->imageData[0] == 100, "tovMultiplySScale truncates");
        tovMultiplyScale(a, b, sum);
        expect(sum->imageData[0] == 78, "tovMultiplyScale truncates");
        tovAlphaComposite(a, b, sum, TOV_COMPOSITE_OVER, a, NULL, NULL, 1, 0);
        expect(sum->imageData[0] == 222, "tovAlphaComposite lays A over B");
        a->imageData[0] = 1;
        tovMirror(a, sum, 1);
        expect(sum->imageData[4] == 1 && sum->imageData[0] == 200, "tovMirror reverses columns");
        tovBlur(b, sum, 3, 1, 1, 0);
        expect(sum->imageData[1] == 100 && sum->imageData[0] == 66, "tovBlur averages with the constant 0 outside");
        tovDecimate(a, sum, 1, 2, 1, 2, TOV_INTER_NN);
        expect(sum->imageData[0] == 1 && sum->imageData[1] == 200 && sum->imageData[2] == 100, "tovDecimate picks");
        tovZoom(a, sum, 2, 1, 2, 1, TOV_INTER_LINEAR);
        expect(sum->imageData[0] == 1 && sum->imageData[1] == 89, "tovZoom lays lines between pixels");
        tovResize(a, sum, 1, 2, 1, 1, TOV_INTER_NN);
        expect(sum->imageData[0] == 1 && sum->imageData[1] == 200, "tovResize reduces");
        tovErode(b, sum, 1);
        expect(sum->imageData[sum->widthStep + 1] == 100 && sum->imageData[0] == 0, "tovErode takes the least value");
        tovSet(sum, 17);
        expect(sum->imageData[2 * sum->widthStep + 4] == 17, "tovSet fills");
        tovConvert(sum, a);
        expect(a->imageData[2 * a->widthStep + 4] == 17, "tovConvert converts");
        {
            int32_t key[2] = {10, 256}, value[1] = {3}, factor[1] = {2};
            TovLUT curve = {2, key, value, factor, 1};
            TovLUT* const curves[1] = {&curve};
            tovContrastStretch(sum, sum, curves);
            expect(sum->imageData[2 * sum->widthStep + 4] == 17, "tovContrastStretch maps by a curve");
        }
    }
    tovDeallocate(a, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
    tovDeallocate(b, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
    tovDeallocate(sum, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
}

static void kernels(void) {
    static const int32_t values[3] = {1, 2, 3};
    static const int8_t chars[1] = {-1};
    TovConvKernel* list[2];
    TovImage* image = newGray(3, 1, 10);
    list[0] = tovCreateConvKernel(3, 1, 1, 0, values, 0);
    list[1] = tovCreateConvKernelChar(1, 1, 0, 0, chars, 0);
    expect(image != NULL && list[0] != NULL && list[1] != NULL, "kernels are made");
    if (image != NULL && list[0] != NULL && list[1] != NULL) {
        tovConvolve2D(image, image, list, 2, TOV_COMBINE_SUM);
        expect(image->imageData[0] == 20 && image->imageData[1] == 50 && image->imageData[2] == 40,
               "tovConvolve2D sums its kernels");
    }
    tovDeleteConvKernel(list[0]);
    tovDeleteConvKernel(list[1]);
    tovDeallocate(image, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
}

static void colours(void) {
    static const int32_t swap[16] = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0};
    TovColorTwist twist;
    TovImage* image = tovCreateImageHeader(3, 0, TOV_DEPTH_8U, "RGB", "BGR", TOV_DATA_ORDER_PIXEL, TOV_ORIGIN_TL,
                                           TOV_ALIGN_4BYTES, 1, 1, NULL, NULL, NULL, NULL);
    tovSetColorTwist(&twist, swap, 0);
    expect(image != NULL && twist.data[2] == 1, "a twist is set");
    if (image != NULL) {
        tovAllocateImage(image, 1, 0);
        image->imageData[0] = 200;
        tovApplyColorTwist(image, image, &twist, 0);
        expect(image->imageData[0] == 0 && image->imageData[2] == 200, "tovApplyColorTwist swaps channels");
        tovDeallocate(image, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
    }
}

static void bitmaps(void) {
    struct {
        BITMAPINFOHEADER header;
        uint8_t pixels[4];
    } bitmap;
    int32_t cloneData = -1;
    TovImage* image;

    memset(&bitmap, 0, sizeof bitmap);
    bitmap.header.biSize = 40;
    bitmap.header.biWidth = 1;
    bitmap.header.biHeight = 1;
    bitmap.header.biPlanes = 1;
    bitmap.header.biBitCount = 24;
    bitmap.pixels[2] = 99;
    image = tovTranslateDIB(&bitmap.header, &cloneData);
    expect(image != NULL && cloneData == 0, "a 24-bit bitmap is shared");
    if (image != NULL) {
        expect(image->imageData == bitmap.pixels && image->imageData[2] == 99, "its pixels stay where they are");
        expect(image->origin == TOV_ORIGIN_BL && image->nChannels == 3, "a bottom-up bitmap is a bottom-left image");
        bitmap.header.biHeight = -1;
        tovConvertToDIB(image, &bitmap.header, 1, 0);
        expect(bitmap.pixels[2] == 99, "tovConvertToDIB writes the pixels");
        tovDeallocate(image, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
    }
}

int main(void) {
    errors();
    version();
    images();
    kernels();
    colours();
    bitmaps();
    expect(tovGetErrStatus() == TOV_STS_OK, "no failure at the end");
    return failures == 0 ? 0 : 1;
}

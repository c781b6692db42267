// pages.cpp - the table of the files.

#include "host/studio/pages.h"

extern const char kPageStudioHtml[];
extern const char kPageColorsCss[];
extern const char kPageStudioCss[];
extern const char kPageAdderJs[];
extern const char kPageCardsJs[];
extern const char kPageCatalogueJs[];
extern const char kPageControlsJs[];
extern const char kPageHandlesJs[];
extern const char kPageHistoryJs[];
extern const char kPageLiveJs[];
extern const char kPagePreviewJs[];
extern const char kPageReadingsJs[];
extern const char kPageShareJs[];
extern const char kPageStageJs[];
extern const char kPageStudioJs[];
extern const char kPageTransformJs[];

namespace studio {

std::span<const PageFile> PageFiles() {
    constexpr const char* kStyle = "text/css; charset=utf-8";
    constexpr const char* kScript = "text/javascript; charset=utf-8";
    static const PageFile kFiles[] = {
        {"/", "text/html; charset=utf-8", kPageStudioHtml},
        {"/colors.css", kStyle, kPageColorsCss},
        {"/studio.css", kStyle, kPageStudioCss},
        {"/adder.js", kScript, kPageAdderJs},
        {"/cards.js", kScript, kPageCardsJs},
        {"/catalogue.js", kScript, kPageCatalogueJs},
        {"/controls.js", kScript, kPageControlsJs},
        {"/handles.js", kScript, kPageHandlesJs},
        {"/history.js", kScript, kPageHistoryJs},
        {"/live.js", kScript, kPageLiveJs},
        {"/preview.js", kScript, kPagePreviewJs},
        {"/readings.js", kScript, kPageReadingsJs},
        {"/share.js", kScript, kPageShareJs},
        {"/stage.js", kScript, kPageStageJs},
        {"/studio.js", kScript, kPageStudioJs},
        {"/transform.js", kScript, kPageTransformJs},
    };
    return kFiles;
}

}  // namespace studio

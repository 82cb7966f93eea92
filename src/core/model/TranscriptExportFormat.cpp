#include "model/TranscriptExportFormat.h"

#include "text/UiText.h"

#include <array>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

struct ExportFormatInfo {
    QString label;
    QString fileExtension;
};

const ExportFormatInfo& infoOf(TranscriptExportFormat format) {
    static const std::array<ExportFormatInfo, 5> table{{
        {UiText::exportFormatTxt, u"txt"_s},
        {UiText::exportFormatJson, u"json"_s},
        {UiText::exportFormatCsv, u"csv"_s},
        {UiText::exportFormatSrt, u"srt"_s},
        {UiText::exportFormatVtt, u"vtt"_s},
    }};
    return table.at(static_cast<std::size_t>(format));
}

} // namespace

const QList<TranscriptExportFormat>& allTranscriptExportFormats() {
    static const QList<TranscriptExportFormat> formats{
        TranscriptExportFormat::txt, TranscriptExportFormat::json, TranscriptExportFormat::csv,
        TranscriptExportFormat::srt, TranscriptExportFormat::vtt};
    return formats;
}

QString label(TranscriptExportFormat format) {
    return infoOf(format).label;
}
QString fileExtension(TranscriptExportFormat format) {
    return infoOf(format).fileExtension;
}

} // namespace vesnara

// Stands in for pdf_reader.cpp in a build without the library.

#include "critics/pages/pdf_reader.h"

namespace trevix {

std::variant<PdfText, PdfFailure> readPdf(std::string_view /*bytes*/, std::size_t /*mostText*/) {
    return PdfFailure{"this build has no reader of PDF", "install poppler and build again"};
}

PdfEngine pdfEngine() {
    return {};
}

} // namespace trevix

// Makes files that the product looks for out of their sources, while it is built: pictures of
// drawings, and a document for reading of a text. Needs neither a display nor a home folder nor a
// locale. Says in one sentence what it cannot do, and ends with status 2.

#include "foundation/result.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QImageReader>
#include <QPdfWriter>
#include <QSaveFile>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextTable>
#include <QUrl>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using vossel::Failure;
using vossel::Result;

constexpr int exitRefused = 2;
constexpr int largestSide = 4096;
constexpr int textSize = 11; // points
constexpr int paragraphGap = 7;
constexpr int headingGap = 14;
constexpr int lineHeight = 125; // per cent
constexpr int cellPadding = 4;

constexpr const char* usage = "what it does is called: image IN.svg WIDTHxHEIGHT OUT.png, or "
                              "document IN.md OUT.pdf";

Failure failure(const QString& path, const char* what, const QString& reason)
{
    return Failure{(path + what + reason).toStdString()};
}

// Nothing new stands under the output's name unless all of it could be written.
Result<bool> save(const QString& path, const QByteArray& content)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit())
        return failure(path, " cannot be written: ", file.errorString());
    return true;
}

Result<QSize> sizeFrom(const QString& text)
{
    const QStringList sides = text.split('x');
    bool isWidth = false;
    bool isHeight = false;
    const QSize size(sides.value(0).toInt(&isWidth), sides.value(1).toInt(&isHeight));
    if (sides.size() != 2 || !isWidth || !isHeight || size.isEmpty() || size.width() > largestSide
        || size.height() > largestSide)
        return failure(text, " is no size of a picture", ", such as 128x128");
    return size;
}

Result<bool> makeImage(const QString& in, const QString& sides, const QString& out)
{
    const auto size = sizeFrom(sides);
    if (!size)
        return Failure{size.reason()};
    if (!QImageReader::supportedImageFormats().contains("svg"))
        return Failure{"Qt's plugin that reads SVG pictures is missing (package libqt6svg6)"};
    QImageReader reader(in, "svg");
    reader.setScaledSize(*size);
    const QImage image = reader.read();
    if (image.isNull())
        return failure(in, " cannot be read: ", reader.errorString());
    QBuffer png;
    if (!png.open(QIODevice::WriteOnly)
        || !image.convertToFormat(QImage::Format_ARGB32).save(&png, "png"))
        return failure(out, " cannot be made: ", png.errorString());
    return save(out, png.data());
}

void spaceOut(QTextDocument& document)
{
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QTextBlockFormat format = block.blockFormat();
        const bool heading = format.headingLevel() > 0;
        format.setTopMargin(heading ? headingGap : 0);
        format.setBottomMargin(paragraphGap);
        format.setLineHeight(lineHeight, QTextBlockFormat::ProportionalHeight);
        if (QTextCursor(block).currentTable())
            format.setBottomMargin(0);
        QTextCursor(block).setBlockFormat(format);
    }
}

// Rows without lines: those that Qt draws are coarse on paper.
void clearTables(const QTextDocument& document)
{
    for (QTextFrame* frame : document.rootFrame()->childFrames()) {
        auto* table = qobject_cast<QTextTable*>(frame);
        if (!table)
            continue;
        QTextTableFormat format = table->format();
        format.setBorder(0);
        format.setCellSpacing(0);
        format.setCellPadding(cellPadding);
        format.setBottomMargin(paragraphGap);
        table->setFormat(format);
    }
}

// The first picture of the text that is not there; empty when all are.
QString missingPicture(const QTextDocument& document)
{
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto piece = block.begin(); !piece.atEnd(); ++piece) {
            const QTextImageFormat image = piece.fragment().charFormat().toImageFormat();
            const QUrl file = document.baseUrl().resolved(QUrl(image.name()));
            if (image.isValid() && !QImageReader(file.toLocalFile()).canRead())
                return image.name();
        }
    }
    return {};
}

Result<bool> makeDocument(const QString& in, const QString& out)
{
    if (QFontDatabase::families().isEmpty())
        return Failure{"there is no font to write a document with (package fonts-dejavu-core)"};
    QFile source(in);
    if (!source.open(QIODevice::ReadOnly))
        return failure(in, " cannot be read: ", source.errorString());
    QTextDocument document;
    QFont font("DejaVu Sans");
    font.setPointSize(textSize);
    document.setDefaultFont(font);
    document.setMarkdown(QString::fromUtf8(source.readAll()));
    // What the pictures lie beside; printing, which works on a copy, looks at the second.
    const QUrl place = QUrl::fromLocalFile(QFileInfo(in).absoluteFilePath());
    document.setBaseUrl(place);
    document.setMetaInformation(QTextDocument::DocumentUrl, place.toString());
    if (document.isEmpty())
        return failure(in, " cannot be made a document: ", "it holds no text");
    if (const QString picture = missingPicture(document); !picture.isEmpty())
        return failure(in, " shows a picture that cannot be read: ", picture);
    spaceOut(document);
    clearTables(document);

    QBuffer pdf;
    if (!pdf.open(QIODevice::WriteOnly))
        return failure(out, " cannot be made: ", pdf.errorString());
    {
        QPdfWriter writer(&pdf);
        writer.setPageSize(QPageSize(QPageSize::A4));
        writer.setTitle(QFileInfo(out).completeBaseName());
        writer.setCreator("Vossel");
        document.print(&writer); // on pages with margins and numbers
    }
    return save(out, pdf.data());
}

Result<bool> run(const QStringList& arguments)
{
    if (arguments.size() == 5 && arguments[1] == "image")
        return makeImage(arguments[2], arguments[3], arguments[4]);
    if (arguments.size() == 4 && arguments[1] == "document")
        return makeDocument(arguments[2], arguments[3]);
    return Failure{usage};
}

}

int main(int argc, char** argv)
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("LC_ALL", "C.UTF-8", 1); // file names are UTF-8 wherever it runs
    // Qt's remarks on what it misses around it (a runtime folder, a home) are nobody's concern
    // here; what makes the work fail is said below.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const QGuiApplication application(argc, argv);
    const auto done = run(QGuiApplication::arguments());
    if (done)
        return 0;
    std::fprintf(stderr, "render_resource: %s\n", done.reason().c_str());
    return exitRefused;
}

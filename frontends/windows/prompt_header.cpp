#include "frontends/windows/prompt_header.h"

#include "foundation/glyph_elision.h"
#include "frontends/windows/sharp_pixmap.h"

#include <QGridLayout>
#include <QPainter>

#include <string>

namespace vossel {

namespace {

constexpr int margin = 20;
constexpr int badgeSize = 28;
constexpr int maxSentenceLines = 4;
constexpr std::size_t longSentence = 200; // bytes
constexpr int maxLongSentenceLines = 6;
constexpr std::size_t maxNameColumns = 120;
constexpr int stripe = 4;
constexpr std::int64_t hurry = 10; // seconds

// A name that fills the sentence must not leave its verb out.
std::string withShortNames(std::string sentence, const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        const Glyphs glyphs = toGlyphs(name, Charset::Utf8);
        const std::size_t at = sentence.find(name);
        if (columnsOf(glyphs) > maxNameColumns && at != std::string::npos)
            sentence.replace(
                at, name.size(), joined(elideMiddle(glyphs, maxNameColumns, Charset::Utf8)));
    }
    return sentence;
}

}

PromptHeader::PromptHeader(const PromptTheme& theme)
    : name(theme, 20, QFont::Bold)
    , program(theme, 12)
    , signer(theme, 12)
    , theme_(theme)
    , sentence_(theme, 16, QFont::DemiBold)
{
    icon_.setFixedSize(iconSize, iconSize);
    icon_.setAlignment(Qt::AlignCenter);
    icon_.setAccessibleName("Icon of the program");
    badge_.setParent(&icon_);
    badge_.setFixedSize(badgeSize, badgeSize);
    badge_.move(iconSize - badgeSize, iconSize - badgeSize);
    badge_.hide();
    caution_.setText("Take care: few programs need this.");
    caution_.setFont(layoutFont(13, QFont::DemiBold));
    caution_.hide();
    time_.setFont(layoutFont(12));
    time_.setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    program.setColor(theme.dim);

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin - 6);
    layout->setHorizontalSpacing(16);
    layout->setVerticalSpacing(2);
    layout->addWidget(&icon_, 0, 0, 3, 1, Qt::AlignTop);
    layout->addWidget(&name, 0, 1);
    layout->addWidget(&time_, 0, 2, Qt::AlignTop);
    layout->addWidget(&program, 1, 1, 1, 2);
    layout->addWidget(&signer, 2, 1, 1, 2);
    layout->setRowMinimumHeight(3, 10);
    layout->addWidget(&caution_, 4, 0, 1, 3);
    layout->addWidget(&sentence_, 5, 0, 1, 3);
    layout->setColumnStretch(1, 1);
}

void PromptHeader::setIcon(const QPixmap& icon)
{
    icon_.setPixmap(icon);
}

void PromptHeader::setSentence(std::string_view text, const std::vector<std::string>& names)
{
    const std::string shorter = withShortNames(std::string(text), names);
    const bool isLong = shorter.size() > longSentence;
    sentence_.setFont(layoutFont(isLong ? 12 : 16, QFont::DemiBold));
    sentence_.setMaximumLines(isLong ? maxLongSentenceLines : maxSentenceLines);
    sentence_.setBytes(shorter);
}

void PromptHeader::setSigner(const PromptView::Signer& found)
{
    signer.setBytes((found.isValid() ? "✓ " : "⚠ ") + found.sentence);
    signer.setColor(found.isValid() ? theme_.allow : theme_.caution);
}

void PromptHeader::setDangerous(bool dangerous)
{
    dangerous_ = dangerous;
    if (dangerous && badge_.pixmap().isNull())
        badge_.setPixmap(resourcePixmap("danger.png", badgeSize, devicePixelRatioF()));
    badge_.setVisible(dangerous);
    caution_.setVisible(dangerous);
    QPalette red = palette();
    red.setColor(QPalette::WindowText, theme_.danger);
    caution_.setPalette(red);
    update();
}

void PromptHeader::setTimeLeft(std::int64_t seconds)
{
    time_.setText(QString("Denied in %1 s").arg(seconds));
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, seconds <= hurry ? theme_.danger : theme_.dim);
    time_.setPalette(colors);
}

void PromptHeader::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), dangerous_ ? theme_.dangerBand : theme_.card);
    painter.fillRect(0, 0, width(), stripe, dangerous_ ? theme_.danger : theme_.accent);
    painter.fillRect(0, height() - 1, width(), 1, theme_.border);
}

}

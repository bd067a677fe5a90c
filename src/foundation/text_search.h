#pragma once

#include <array>
#include <string>
#include <string_view>

namespace vossel {

// Unicode's full case folding, the same for every locale, without normalisation: two texts that
// differ only in case give the same bytes, and these sort in the order of code points. Invalid
// sequences become U+FFFD as in toValidUtf8. Text other than ASCII keeps its case beyond 16 MiB.
[[nodiscard]] std::string caseFolded(std::string_view text);

// Looks for one text in many, whatever their case and canonical form, as a person who types into a
// search field expects. Accents count: a needle is not found where a combining mark follows it, for
// that changes its last character. It is fast enough to search a million short texts at each
// keystroke, because ASCII texts cost only a scan of their bytes. One object serves one thread at a
// time, for it has buffers of its own.
class TextSearch {
public:
    // Only the language of `locale` ("tr", "tr_TR") matters: in Turkish and Azerbaijani the dotless
    // and the dotted i are two letters. Empty is the process's locale: LC_ALL, LC_MESSAGES or LANG,
    // looked up once. Invalid sequences, here as in the texts, count as U+FFFD.
    explicit TextSearch(std::string_view needle, std::string_view locale = {});

    // An empty needle is in every text. Text other than ASCII is not searched beyond 16 MiB.
    [[nodiscard]] bool foundIn(std::string_view text) const;

private:
    [[nodiscard]] bool foundInAscii(std::string_view text) const;
    // In the form that is compared; it lies in the buffers until the next call.
    [[nodiscard]] std::u16string_view normalised(std::string_view text) const;

    bool dotlessI_;
    mutable std::array<std::u16string, 2> buffers_;
    std::u16string needle_; // normalised
    // The needle as ASCII texts could have it, folded by foldOfAscii; empty when none can.
    std::string asciiNeedle_;
};

}

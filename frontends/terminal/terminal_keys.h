#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

struct TerminalKey {
    enum class Kind : std::uint8_t {
        Character,
        Return,
        Escape,
        Left,
        Right,
        Up,
        Down,
        Backspace,
        Pasted, // a whole paste, whatever was in it
        Other
    };
    Kind kind = Kind::Other;
    char32_t character
        = 0; // of Kind::Character, without control and alt: Ctrl-O is 'o' with control
    bool control = false;
    bool alt = false;

    bool operator==(const TerminalKey&) const = default;
};

// Cuts the bytes that a terminal sends into keys; the same keys however the bytes arrive. Programs
// on the terminal can make it send answers with text of their choice, so nothing inside a sequence
// ever is a key, even when the rest comes late. Ctrl-C is one everywhere but in a paste.
class KeyParser {
public:
    // How long the rest of a sequence may take.
    static constexpr std::chrono::milliseconds escapePause{30};
    // Bytes of a sequence whose meaning is looked up; a longer one means nothing.
    static constexpr std::size_t maxSequence = 64;

    // Appends the keys that `bytes` complete to `keys`.
    void feed(std::string_view bytes, std::vector<TerminalKey>& keys);
    // An escape, a sequence or a character that has begun waits for its rest: flush() after
    // `escapePause` without further bytes. Not so in a paste, which may take as long as it likes.
    [[nodiscard]] bool isPending() const;
    // The pause is over. A lone escape is the key; a broken sequence is Other, and its end, should
    // it come yet, is passed over.
    void flush(std::vector<TerminalKey>& keys);

private:
    using Keys = std::vector<TerminalKey>;
    // Where the next byte stands. ControlString: within an OSC, DCS or APC; StringEscape: behind an
    // escape that perhaps ends one. Bytes: within the bytes of a mouse report that follow its
    // letter.
    enum class State : std::uint8_t {
        Ground,
        Character,
        Escape,
        LateEscape,
        Csi,
        Ss3,
        ControlString,
        StringEscape,
        Bytes,
        Paste
    };

    void take(unsigned char byte, Keys& keys);
    void takeGround(unsigned char byte, bool alt, Keys& keys);
    void takeCharacter(unsigned char byte, Keys& keys);
    void takeEscape(unsigned char byte, Keys& keys);
    void takeLateEscape(unsigned char byte, Keys& keys);
    void takeCsi(unsigned char byte, Keys& keys);
    void takeSs3(unsigned char byte, Keys& keys);
    void takeString(unsigned char byte, Keys& keys);
    void takeBytes(unsigned char byte, Keys& keys);
    void takePaste(unsigned char byte, Keys& keys);
    void begin(State state, char first);
    bool beginSequence(char32_t letter);
    bool beginByControl(char32_t control);
    bool breaksOff(unsigned char byte, Keys& keys);
    void keep(unsigned char byte, Keys& keys);
    void tellBroken(Keys& keys);

    State state_ = State::Ground;
    std::string sequence_; // its letter and what follows; the bytes of a character
    std::size_t expected_ = 0; // bytes that must follow; of a paste's end: that were found
    bool alt_ = false; // an escape stood before the character
    bool told_ = false; // Other stands for this sequence already
};

}

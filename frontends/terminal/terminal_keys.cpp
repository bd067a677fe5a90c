#include "frontends/terminal/terminal_keys.h"

#include "foundation/utf8.h"
#include "frontends/terminal/key_reports.h"

namespace vossel {

namespace {

using Kind = TerminalKey::Kind;

constexpr unsigned char interrupt = 0x03;
constexpr unsigned char bell = 0x07;
constexpr unsigned char escape = 0x1B;
constexpr unsigned char stringTerminator = 0x9C;
constexpr std::string_view pasteBegin = "[200~";
constexpr std::string_view pasteEnd = "\033[201~";

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// The length of the character that the byte begins; 1 for every other byte.
std::size_t characterLength(unsigned char lead)
{
    if (lead < 0xC2 || lead > 0xF4)
        return 1;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// How many bytes follow the letter of a mouse report; 0 for any other letter.
std::size_t bytesBehind(std::string_view sequence)
{
    return sequence == "[M" ? 3 : sequence == "[t" ? 2 : sequence == "[T" ? 6 : 0;
}

}

void KeyParser::feed(std::string_view bytes, Keys& keys)
{
    for (const char byte : bytes)
        take(static_cast<unsigned char>(byte), keys);
}

bool KeyParser::isPending() const
{
    switch (state_) {
    case State::Character:
    case State::Escape:
    case State::StringEscape:
        return true;
    case State::Csi:
    case State::Ss3:
    case State::ControlString:
    case State::Bytes:
        return !told_;
    case State::Ground:
    case State::LateEscape:
    case State::Paste:
        break;
    }
    return false;
}

void KeyParser::flush(Keys& keys)
{
    switch (state_) {
    case State::Escape:
        keys.push_back({Kind::Escape});
        state_ = State::LateEscape;
        break;
    case State::StringEscape:
        tellBroken(keys);
        keys.push_back({Kind::Escape});
        state_ = State::Ground;
        break;
    case State::Character:
        tellBroken(keys);
        state_ = State::Ground;
        break;
    case State::ControlString:
        tellBroken(keys);
        // Alt and the letter: waiting for the end of a string would swallow all other keys.
        if (sequence_.size() == 1)
            state_ = State::Ground;
        break;
    case State::Csi:
    case State::Ss3:
    case State::Bytes:
        tellBroken(keys);
        break;
    case State::Ground:
    case State::LateEscape:
    case State::Paste:
        break;
    }
}

void KeyParser::take(unsigned char byte, Keys& keys)
{
    if (byte == interrupt && state_ != State::Paste) {
        keys.push_back({Kind::Character, U'c', true});
        return;
    }
    switch (state_) {
    case State::Ground:
        return takeGround(byte, false, keys);
    case State::Character:
        return takeCharacter(byte, keys);
    case State::Escape:
        return takeEscape(byte, keys);
    case State::LateEscape:
        return takeLateEscape(byte, keys);
    case State::Csi:
        return takeCsi(byte, keys);
    case State::Ss3:
        return takeSs3(byte, keys);
    case State::ControlString:
    case State::StringEscape:
        return takeString(byte, keys);
    case State::Bytes:
        return takeBytes(byte, keys);
    case State::Paste:
        return takePaste(byte, keys);
    }
}

void KeyParser::takeGround(unsigned char byte, bool alt, Keys& keys)
{
    if (byte == escape) {
        state_ = State::Escape;
    } else if (byte == '\r') {
        keys.push_back({Kind::Return, 0, false, alt});
    } else if (byte == '\b' || byte == 0x7F) {
        keys.push_back({Kind::Backspace, 0, false, alt});
    } else if (byte >= 0x01 && byte <= 0x1A) {
        keys.push_back({Kind::Character, U'a' + byte - 1, true, alt});
    } else if (byte >= 0x20 && byte < 0x7F) {
        keys.push_back({Kind::Character, byte, false, alt});
    } else if (characterLength(byte) > 1) {
        begin(State::Character, static_cast<char>(byte));
        alt_ = alt;
    } else if (!beginByControl(byte)) {
        keys.push_back({});
    }
}

void KeyParser::takeCharacter(unsigned char byte, Keys& keys)
{
    if (!isContinuation(byte)) {
        tellBroken(keys);
        state_ = State::Ground;
        take(byte, keys);
        return;
    }
    keep(byte, keys);
    if (sequence_.size() < characterLength(static_cast<unsigned char>(sequence_.front())))
        return;
    state_ = State::Ground;
    const auto character = firstCharacter(sequence_);
    if (character && character->code >= 0xA0)
        keys.push_back({Kind::Character, character->code, false, alt_});
    else if (!character || !beginByControl(character->code))
        keys.push_back({});
}

void KeyParser::takeEscape(unsigned char byte, Keys& keys)
{
    if (byte == escape || (byte >= 0x80 && byte < 0xA0)) {
        keys.push_back({Kind::Escape});
        state_ = State::Ground;
        takeGround(byte, false, keys);
    } else if (!beginSequence(byte)) {
        state_ = State::Ground;
        takeGround(byte, true, keys);
    }
}

// A cursor key whose bytes came with a pause in between must not end as the letter in it.
void KeyParser::takeLateEscape(unsigned char byte, Keys& keys)
{
    state_ = State::Ground;
    if (byte != '[' && byte != 'O')
        return takeGround(byte, false, keys);
    beginSequence(byte);
    told_ = true;
}

void KeyParser::takeCsi(unsigned char byte, Keys& keys)
{
    // The Linux console's function keys are "ESC [ [ A" and so on.
    const bool second = byte == '[' && sequence_ == "[";
    if (breaksOff(byte, keys))
        return;
    keep(byte, keys);
    if (byte < 0x40 || byte >= 0x7F || second)
        return;
    if (sequence_ == pasteBegin) {
        begin(State::Paste, '[');
    } else if (const std::size_t following = bytesBehind(sequence_)) {
        state_ = State::Bytes;
        expected_ = following;
    } else {
        state_ = State::Ground;
        const std::string_view inner = std::string_view(sequence_).substr(1, sequence_.size() - 2);
        const auto key = keyOfReport(inner, sequence_.back());
        if (key && !told_)
            keys.push_back(*key);
    }
}

void KeyParser::takeSs3(unsigned char byte, Keys& keys)
{
    if (breaksOff(byte, keys))
        return;
    const Kind kind = sequence_.size() == 1 ? arrowOf(static_cast<char>(byte)) : Kind::Other;
    keep(byte, keys);
    if (byte >= '0' && byte <= ';')
        return;
    state_ = State::Ground;
    if (!told_)
        keys.push_back({kind});
}

void KeyParser::takeString(unsigned char byte, Keys& keys)
{
    if (state_ == State::StringEscape) {
        tellBroken(keys);
        state_ = State::Ground;
        if (byte != '\\')
            takeEscape(byte, keys);
    } else if (byte == escape) {
        state_ = State::StringEscape;
    } else if (expected_ > 0 && isContinuation(byte)) {
        --expected_; // within a character, where 0x9C ends nothing
        keep(byte, keys);
    } else if (byte == stringTerminator || (byte == bell && sequence_.front() == ']')) {
        tellBroken(keys);
        state_ = State::Ground;
    } else {
        expected_ = characterLength(byte) - 1;
        keep(byte, keys);
    }
}

void KeyParser::takeBytes(unsigned char byte, Keys& keys)
{
    if (byte == escape) {
        tellBroken(keys);
        state_ = State::Escape;
        return;
    }
    // Terminals that count beyond column 223 send characters of two bytes.
    const bool second = isContinuation(byte)
        && characterLength(static_cast<unsigned char>(sequence_.back())) == 2;
    keep(byte, keys);
    if (second || --expected_ > 0)
        return;
    tellBroken(keys);
    state_ = State::Ground;
}

void KeyParser::takePaste(unsigned char byte, Keys& keys)
{
    // An escape stands at the beginning of the end's mark only.
    if (byte != static_cast<unsigned char>(pasteEnd[expected_]))
        expected_ = 0;
    if (byte == static_cast<unsigned char>(pasteEnd[expected_]))
        ++expected_;
    if (expected_ < pasteEnd.size())
        return;
    state_ = State::Ground;
    keys.push_back({Kind::Pasted});
}

void KeyParser::begin(State state, char first)
{
    state_ = state;
    sequence_.assign(1, first);
    expected_ = 0;
    told_ = false;
}

// Begins the sequence that this letter behind an escape stands for; false when there is none.
bool KeyParser::beginSequence(char32_t letter)
{
    switch (letter) {
    case '[':
        begin(State::Csi, '[');
        return true;
    case 'O':
        begin(State::Ss3, 'O');
        return true;
    case ']':
    case 'P':
    case '_':
        begin(State::ControlString, static_cast<char>(letter));
        return true;
    default:
        return false;
    }
}

// The characters U+0080 to U+009F stand for an escape and a letter; programs can have a terminal
// answer in them.
bool KeyParser::beginByControl(char32_t control)
{
    return control >= 0x80 && control < 0xA0 && beginSequence(control - 0x40);
}

// A control character ends the sequence that it is in, and is lost with it unless it is an escape.
bool KeyParser::breaksOff(unsigned char byte, Keys& keys)
{
    if (byte >= 0x20)
        return false;
    tellBroken(keys);
    state_ = byte == escape ? State::Escape : State::Ground;
    return true;
}

void KeyParser::keep(unsigned char byte, Keys& keys)
{
    if (sequence_.size() < maxSequence)
        sequence_.push_back(static_cast<char>(byte));
    else
        tellBroken(keys);
}

void KeyParser::tellBroken(Keys& keys)
{
    if (!told_)
        keys.push_back({});
    told_ = true;
}

}

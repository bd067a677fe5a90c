#pragma once

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace vossel::test {

// A terminal of the xterm kind, as far as prompts use one: two screens, a scrolling region, colours
// that it does not show. What it does not know, and every control character that prompts have no
// business to send, is kept as an offence. All characters are one column wide but those from the
// Hangul syllables on, which are two.
class TerminalEmulator {
public:
    TerminalEmulator(int columns, int rows)
        : columns_(columns)
        , rows_(rows)
        , main_(blank())
        , other_(blank())
        , bottom_(rows - 1)
    {
    }

    int bells = 0;
    bool ownScreen = false;
    bool cursorHidden = false;
    std::vector<std::string> offences;

    void feed(std::string_view bytes)
    {
        for (const char byte : bytes)
            take(byte);
    }
    // Row by row, without trailing blanks and trailing empty rows.
    [[nodiscard]] std::string text() const
    {
        std::string all;
        for (const auto& row : main_) {
            std::string line;
            for (const std::string& cell : row)
                line += cell;
            line.erase(line.find_last_not_of(' ') + 1);
            all += line + "\n";
        }
        all.erase(all.find_last_not_of('\n') + 1);
        return all;
    }

private:
    using Cells = std::vector<std::vector<std::string>>;

    [[nodiscard]] Cells blank() const
    {
        const std::vector<std::string> row(static_cast<std::size_t>(columns_), " ");
        return Cells(static_cast<std::size_t>(rows_), row);
    }

    void take(char byte)
    {
        if (!pending_.empty()) {
            pending_ += byte;
            takeSequence();
        } else if (byte == '\033') {
            pending_ = byte;
        } else if ((byte & 0x80) != 0) {
            takeCharacter(byte);
        } else if (byte == '\r') {
            column_ = 0;
        } else if (byte == '\n') {
            index();
        } else if (byte == '\a') {
            ++bells;
        } else if (byte >= 0x20 && byte < 0x7F) {
            print(std::string(1, byte), 1);
        } else if (byte != '\017') { // back to the first character set
            offences.push_back("byte " + std::to_string(byte));
        }
    }

    void takeCharacter(char byte)
    {
        if ((byte & 0xC0) == 0xC0)
            character_.clear();
        character_ += byte;
        const auto lead = static_cast<unsigned char>(character_.front());
        const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if (character_.size() == length)
            print(std::exchange(character_, {}), lead >= 0xEA ? 2 : 1);
    }

    void print(const std::string& character, int width)
    {
        if (column_ + width > columns_) {
            offences.push_back("beyond the last column: " + character);
            return;
        }
        cell(column_) = character;
        if (width == 2)
            cell(column_ + 1).clear();
        column_ += width;
    }
    std::string& cell(int column)
    {
        return main_[static_cast<std::size_t>(row_)][static_cast<std::size_t>(column)];
    }

    void index()
    {
        if (row_ == bottom_) {
            main_.erase(main_.begin() + top_);
            main_.insert(main_.begin() + bottom_, blank().front());
        } else if (row_ < rows_ - 1) {
            ++row_;
        }
    }

    void takeSequence()
    {
        const char end = pending_.back();
        if (pending_.size() == 2 && std::string_view("[() ").find(end) != std::string_view::npos)
            return;
        if (pending_[1] == '[' && (end < 0x40 || end > 0x7E))
            return;
        const std::string sequence = std::exchange(pending_, {}).substr(1);
        if (sequence == "7")
            saved_ = {row_, column_};
        else if (sequence == "8")
            std::tie(row_, column_) = saved_;
        else if (sequence == "D")
            index();
        else if (sequence[0] == '[')
            control(sequence.substr(1, sequence.size() - 2), end);
        else if (sequence != "(B" && sequence != " F")
            offences.push_back("escape " + sequence);
    }

    void control(const std::string& parameters, char end)
    {
        const std::vector<int> numbers = split(parameters);
        const auto number = [&](std::size_t i, int otherwise) {
            return i < numbers.size() && numbers[i] > 0 ? numbers[i] : otherwise;
        };
        if (end == 'H') {
            row_ = std::clamp(number(0, 1) - 1, 0, rows_ - 1);
            column_ = std::clamp(number(1, 1) - 1, 0, columns_ - 1);
        } else if (end == 'A') {
            row_ = std::max(0, row_ - number(0, 1));
        } else if (end == 'K' && parameters.empty()) {
            for (int column = column_; column < columns_; ++column)
                cell(column) = " ";
        } else if (end == 'J') {
            main_ = blank();
        } else if (end == 'r') {
            top_ = number(0, 1) - 1;
            bottom_ = std::min(number(1, rows_), rows_) - 1;
            row_ = column_ = 0;
        } else if (parameters == "?1049" && (end == 'h' || end == 'l')) {
            if (ownScreen != (end == 'h'))
                switchScreen();
        } else if (parameters == "?25" || parameters == "?12;25" || parameters == "?12") {
            cursorHidden = end == 'l' && parameters == "?25";
        } else if (end != 'm' && end != 't' && parameters != "?2004" && parameters != "?7") {
            offences.push_back("control " + parameters + end);
        }
    }

    void switchScreen()
    {
        if (!ownScreen)
            beside_ = {row_, column_};
        else
            std::tie(row_, column_) = beside_;
        ownScreen = !ownScreen;
        std::swap(main_, other_);
    }

    static std::vector<int> split(std::string_view parameters)
    {
        std::vector<int> numbers;
        while (!parameters.empty()) {
            const std::string_view part = parameters.substr(0, parameters.find(';'));
            numbers.push_back(0);
            std::from_chars(part.data(), part.data() + part.size(), numbers.back());
            parameters.remove_prefix(std::min(part.size() + 1, parameters.size()));
        }
        return numbers;
    }

    int columns_;
    int rows_;
    Cells main_; // the one that is shown
    Cells other_;
    int row_ = 0;
    int column_ = 0;
    int top_ = 0; // of the part that scrolls
    int bottom_;
    std::pair<int, int> saved_;
    std::pair<int, int> beside_; // where the cursor stands on the screen that is not shown
    std::string pending_;
    std::string character_;
};

}

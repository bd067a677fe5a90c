#include "frontends/terminal/prompt_screen.h"

#include "frontends/terminal/prompt_sentences.h"
#include "ui/prompt/prompt_words.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vossel {

namespace {

constexpr std::size_t labelColumns = 11;
constexpr std::size_t gap = 2;

// The keys that choose a duration, by its code.
constexpr std::array<const char*, DURATION_FOREVER + 1> durationKeys{"^O", "^Q", "^R", "^F"};

struct Fact {
    const char* label = "";
    std::string_view name{}; // stands out; may be empty
    std::string_view text{};
    bool warning = false;
};

// How much of a prompt is shown; later rows of the table leave more out.
struct Detail {
    bool blanks;
    bool bar;
    std::size_t sentenceLines;
    std::size_t facts;
    bool scope; // durations, operations, updates
    std::size_t listRows; // that each list has at least, where it is that long
};

constexpr std::array<Detail, 5> details{{
    {true, true, 3, 4, true, 3},
    {false, true, 3, 4, true, 3},
    {false, true, 2, 3, true, 1},
    {false, true, 1, 2, true, 1},
    {false, false, 1, 2, false, 0},
}};

struct HelpLine {
    const char* keys;
    const char* meaning; // none for the durations, which have words of their own
    enum { Both, AdvancedOnly, SimpleOnly } prompts;
};

constexpr std::array<HelpLine, 10> helpLines{{
    {"Alt-Return, A", "allow", HelpLine::Both},
    {"Escape, D", "deny", HelpLine::Both},
    {"^O ^Q ^R ^F", nullptr, HelpLine::Both},
    {"", "(^ is Control; Alt does the same, and so do Alt-1 to Alt-4)", HelpLine::Both},
    {"Left, Right", "next and previous entry of \"Files\"", HelpLine::AdvancedOnly},
    {"Down, Up", "next and previous entry of \"Programs\"", HelpLine::AdvancedOnly},
    {"p", "the next kind of access", HelpLine::AdvancedOnly},
    {"u", "whether later versions of the program are covered", HelpLine::AdvancedOnly},
    {"v", "all details, with more to choose", HelpLine::SimpleOnly},
    {"?", "back", HelpLine::Both},
}};

// "once, until the program quits, until restart, forever".
std::string allDurations()
{
    std::string phrases = durationPhrase(DURATION_ONCE);
    for (std::int32_t code = DURATION_ONCE + 1; code <= DURATION_FOREVER; ++code)
        phrases += ", " + durationPhrase(code);
    return phrases;
}

class Layout {
public:
    Layout(const PromptScreenState& state, TerminalSize size, Charset charset)
        : state_(state)
        , view_(state.view)
        , charset_(charset)
        , height_(static_cast<std::size_t>(std::max(size.rows, 1)))
        , width_(static_cast<std::size_t>(std::max(size.columns, 1)))
    {
    }

    Screen screen()
    {
        for (const Detail& detail : details) {
            build(detail);
            if (fits_ && rows_.size() <= height_)
                break;
        }
        keepEnds();
        return {std::move(rows_), cursor_};
    }

private:
    using Choices = PromptView::Choices;

    void build(const Detail& detail)
    {
        rows_.clear();
        cursor_.reset();
        fits_ = true;
        if (detail.bar)
            bar();
        blank(detail);
        addWrapped(view_.sentence, detail.sentenceLines, Style::Strong);
        blank(detail);
        facts(detail.facts);
        blank(detail);
        const std::size_t middle = rows_.size();
        if (state_.question) {
            question();
        } else if (state_.help) {
            help();
        } else if (detail.scope) {
            durations();
            access();
        }
        blank(detail);
        if (!state_.message.empty())
            addWrapped(state_.message, 2, Style::Warning);
        ways();
        if (!state_.question && !state_.help && isAdvanced() && detail.listRows > 0)
            lists(middle, detail);
    }

    void bar()
    {
        const Style style = view_.deservesCare ? Style::Warning : Style::Title;
        const std::string left = std::to_string(state_.secondsLeft) + " s left ";
        ScreenRow row(width_);
        row.add(" Vossel", Style::Title);
        if (view_.deservesCare && width_ > 40)
            row.add("  take care", style);
        row.padTo(width_ - std::min(width_, left.size()), Style::Title);
        row.add(left, Style::Title);
        push(std::move(row));
    }

    [[nodiscard]] bool isAdvanced() const { return view_.kind == PromptView::Kind::Advanced; }

    // The simple prompt says in its sentence what file it is about.
    void facts(std::size_t count)
    {
        const Fact all[] = {
            {"File", {}, isAdvanced() ? std::string_view(view_.file.text) : std::string_view()},
            {"Program", view_.displayName, view_.application.text},
            {"Parent", {}, view_.parent.text},
            {"Signature", {}, view_.signer.sentence, !view_.signer.isValid()},
        };
        for (const Fact& one : all) {
            if (count > 0 && (!one.text.empty() || !one.name.empty())) {
                fact(one);
                --count;
            }
        }
    }

    void fact(const Fact& fact)
    {
        ScreenRow row = labelled(fact.label);
        const std::size_t room = row.room();
        Glyphs text = toGlyphs(fact.text, charset_);
        Glyphs name = toGlyphs(fact.name, charset_);
        if (!name.empty()) {
            name = elideMiddle(std::move(name), std::max(room / 2, gap), charset_);
            row.add(name, Style::Strong);
            row.padTo(row.columns() + gap);
        }
        row.add(elideMiddle(std::move(text), row.room(), charset_),
            fact.warning ? Style::Warning : Style::Plain);
        push(std::move(row));
    }

    // --- choices ---------------------------------------------------------------------------------

    // The lists take what room the rest leaves.
    void lists(std::size_t at, const Detail& detail)
    {
        const std::size_t paths = rowsWanted(view_.paths);
        const std::size_t processes = rowsWanted(view_.processes);
        const std::size_t room = height_ > rows_.size() ? height_ - rows_.size() : 0;
        const std::size_t second = std::min(processes, std::max(room / 2, detail.listRows));
        const std::size_t first = std::min(paths, room > second ? room - second : 0);
        fits_ = first >= std::min(paths, detail.listRows)
            && second >= std::min(processes, detail.listRows);
        std::vector<ScreenRow> below(
            std::make_move_iterator(rows_.begin() + static_cast<std::ptrdiff_t>(at)),
            std::make_move_iterator(rows_.end()));
        rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(at), rows_.end());
        list("Files", charset_ == Charset::Utf8 ? "\u2190 \u2192" : "Left/Right", view_.paths,
            first);
        list("Programs", charset_ == Charset::Utf8 ? "\u2191 \u2193" : "Up/Down", view_.processes,
            room > first ? room - first : 0);
        std::move(below.begin(), below.end(), std::back_inserter(rows_));
    }

    // A list that cannot be changed shows only what is chosen.
    static std::size_t rowsWanted(const Choices& choices)
    {
        return choices.enabled ? choices.entries.size()
                               : std::min<std::size_t>(1, choices.entries.size());
    }

    void list(const char* label, const char* keys, const Choices& choices, std::size_t room)
    {
        const std::size_t count = std::min(rowsWanted(choices), room);
        const std::size_t total = choices.entries.size();
        const std::size_t selected
            = static_cast<std::size_t>(std::max<std::int64_t>(choices.selected, 0));
        const std::size_t before = selected > count / 2 ? selected - count / 2 : 0;
        const std::size_t start = std::min(before, total - std::min(total, count));
        for (std::size_t i = 0; i < count; ++i) {
            ScreenRow row(width_);
            if (i == 0)
                row.add(std::string_view(label), Style::Dim);
            else if (i == 1)
                row.add(toGlyphs(keys, Charset::Utf8), Style::Strong);
            else if (i == 2 && count < total)
                row.add(std::to_string(selected + 1) + " of " + std::to_string(total), Style::Dim);
            choice(std::move(row), choices, start + i);
        }
    }

    void choice(ScreenRow row, const Choices& choices, std::size_t index)
    {
        const auto number = static_cast<std::int64_t>(index);
        const bool selected = number == choices.selected;
        const bool recommended = number == choices.recommended && choices.enabled;
        row.padTo(labelColumns);
        row.add(row.room() < 8 ? "" : selected ? "(*) " : "( ) ");
        std::size_t room = row.room();
        const std::size_t mark = gap + recommendedTitle.size();
        const bool marked = recommended && room > 2 * mark;
        if (marked)
            room -= mark;
        row.add(elideMiddle(toGlyphs(choices.entries[index].title, charset_), room, charset_),
            selected ? Style::Chosen : Style::Plain);
        if (marked)
            row.padTo(row.columns() + gap).add(recommendedTitle, Style::Dim);
        push(std::move(row));
    }

    void durations()
    {
        ScreenRow row = labelled("How long");
        for (std::size_t code = 0; code < view_.durations.size(); ++code) {
            if (!view_.durations[code].present)
                continue;
            const bool selected = std::cmp_equal(code, view_.duration);
            ScreenRow piece(width_);
            piece.add(selected ? "[" : " ").add(durationKeys[code], Style::Strong).add(" ");
            piece.add(view_.durations[code].title, selected ? Style::Chosen : Style::Plain);
            piece.add(selected ? "]" : " ");
            flow(row, piece, labelColumns, 0);
        }
        push(std::move(row));
    }

    void access()
    {
        if (!isAdvanced())
            return;
        ScreenRow row = labelled("Access");
        flow(row, ScreenRow(width_).add(" ").add("p", Style::Strong).add(" ").add(view_.operations),
            labelColumns, 1);
        if (!view_.updates.hidden) {
            ScreenRow piece(width_);
            piece.add("u", Style::Strong).add(view_.updates.checked ? " [x] " : " [ ] ");
            piece.add(updatesTitle, view_.updates.enabled ? Style::Plain : Style::Dim);
            flow(row, piece, labelColumns, 3 * gap);
        }
        push(std::move(row));
    }

    void help()
    {
        for (const HelpLine& line : helpLines) {
            if (line.prompts == (isAdvanced() ? HelpLine::SimpleOnly : HelpLine::AdvancedOnly))
                continue;
            ScreenRow row(width_);
            row.add(line.keys, Style::Strong).padTo(16);
            row.add(elideTail(toGlyphs(line.meaning ? line.meaning : allDurations(), charset_),
                row.room(), charset_));
            push(std::move(row));
        }
    }

    void question()
    {
        addWrapped(state_.question->text, 3, Style::Strong);
        ScreenRow row(width_);
        row.add("> ", Style::Strong);
        Glyphs typed = toGlyphs(state_.question->typed, charset_);
        // The person writes at its end, so that its beginning goes where room is short.
        while (!typed.empty() && columnsOf(typed) + 1 > row.room())
            typed.erase(typed.begin());
        row.add(typed);
        cursor_ = CursorPlace{static_cast<int>(rows_.size()), static_cast<int>(row.columns())};
        push(std::move(row));
    }

    // Says how to answer, in the last row, which is never left out.
    void ways()
    {
        ScreenRow row(width_);
        if (state_.question) {
            way(row, "Return", "send", Style::Plain);
            way(row, "Esc", "give up and deny", Style::Deny);
        } else if (view_.touchBarOnly) {
            row.add(
                elideTail(toGlyphs("This prompt is answered on a touch bar, which a terminal does "
                                   "not have.",
                              charset_),
                    width_, charset_),
                Style::Warning);
        } else {
            way(row, "Esc", view_.deny.title, Style::Deny);
            way(row, width_ < 40 ? "A" : "Alt-Return or A", view_.allow.title,
                view_.allow.highlighted ? Style::Chosen : Style::Allow);
            if (!isAdvanced())
                way(row, "v", detailsTitle, Style::Plain);
            way(row, "?", "keys", Style::Plain);
        }
        push(std::move(row));
    }

    void way(ScreenRow& row, const char* key, std::string_view meaning, Style style)
    {
        ScreenRow piece(width_);
        piece.add(key, Style::Strong).add(" ").add(meaning, style);
        const std::size_t distance = width_ < 40 ? 1 : 2 * gap;
        if (row.columns() == 0 || row.columns() + distance + piece.columns() <= width_)
            flow(row, piece, 0, distance);
    }

    // --- rows ------------------------------------------------------------------------------------

    ScreenRow labelled(const char* label) const
    {
        ScreenRow row(width_);
        if (width_ > 3 * labelColumns)
            row.add(std::string_view(label), Style::Dim).padTo(labelColumns);
        return row;
    }

    // Puts a piece behind the others of the row, or on a row of its own where it is full.
    void flow(ScreenRow& row, const ScreenRow& piece, std::size_t indent, std::size_t distance)
    {
        const bool first = row.columns() <= indent;
        const std::size_t needed = piece.columns() + (first ? 0 : distance);
        if (!first && needed > row.room()) {
            push(std::exchange(row, ScreenRow(width_)));
            row.padTo(width_ > 3 * labelColumns ? indent : 0);
        } else if (!first) {
            row.padTo(row.columns() + distance);
        }
        for (const Span& span : piece.spans())
            row.add(span.text, span.style);
    }

    void addWrapped(std::string_view text, std::size_t lines, Style style)
    {
        for (const Glyphs& line : wrapText(toGlyphs(text, charset_), width_, lines, charset_))
            push(ScreenRow(width_).add(line, style));
    }

    void blank(const Detail& detail)
    {
        if (detail.blanks)
            rows_.emplace_back(width_);
    }

    void push(ScreenRow row) { rows_.push_back(std::move(row)); }

    // A terminal too low for anything else shows the last rows.
    void keepEnds()
    {
        if (rows_.size() <= height_)
            return;
        const auto surplus = static_cast<std::ptrdiff_t>(rows_.size() - height_);
        const std::ptrdiff_t kept = height_ > 2 ? 1 : 0;
        rows_.erase(rows_.begin() + kept, rows_.begin() + kept + surplus);
        if (cursor_)
            cursor_->row = std::max(0, cursor_->row - static_cast<int>(surplus));
    }

    const PromptScreenState& state_;
    const PromptView& view_;
    const Charset charset_;
    const std::size_t height_;
    const std::size_t width_;
    bool fits_ = true;
    std::vector<ScreenRow> rows_;
    std::optional<CursorPlace> cursor_;
};

}

Screen promptScreen(const PromptScreenState& state, TerminalSize size, Charset charset)
{
    return Layout(state, size, charset).screen();
}

}

#include "frame/console.h"

#include <atomic>
#include <cstdlib>

#include "platform/console.h"

namespace kvt {
namespace {

struct Sink {
    ConsoleWriter write = nullptr;
    void* context = nullptr;
};
Sink sink;

enum class Colours { undecided, off, on };
std::atomic<Colours> colours = Colours::undecided;

// Threads that print for the first time at once decide alike.
bool colours_enabled() {
    Colours now = colours.load(std::memory_order_relaxed);
    if (now == Colours::undecided) {
        const bool wanted = platform::standard_output_is_terminal() && std::getenv("NO_COLOR") == nullptr;
        now = wanted ? Colours::on : Colours::off;
        colours.store(now, std::memory_order_relaxed);
    }
    return now == Colours::on;
}

// Terminals number the colours red, green, yellow, blue, magenta, cyan; attributes have red and blue exchanged.
void append_escape(std::string& out, unsigned attribute) {
    constexpr char terminal_digit[8] = {'0', '4', '2', '6', '1', '5', '3', '7'};
    if (attribute == 7) {
        out += "\x1b[0m";
        return;
    }
    out += attribute >= 8 ? "\x1b[9" : "\x1b[3";
    out += terminal_digit[attribute & 7];
    out += 'm';
}

}  // namespace

void set_console_sink(ConsoleWriter write, void* context) noexcept { sink = {write, context}; }
void set_colours_enabled(bool enabled) noexcept {
    colours.store(enabled ? Colours::on : Colours::off, std::memory_order_relaxed);
}

ConsoleText& ConsoleText::add(std::string_view text, char colour) {
    pieces_.push_back({std::string(text), colour});
    return *this;
}

ConsoleText& ConsoleText::line(std::string_view text, char colour) {
    add(text, colour);
    pieces_.back().text += '\n';
    return *this;
}

void ConsoleText::print() const {
    if (sink.write != nullptr) {
        for (const Piece& piece : pieces_)
            sink.write(sink.context, piece.text.data(), piece.text.size(), piece.colour);
        return;
    }
    std::string buffer;
    for (const Piece& piece : pieces_) {
        if (piece.colour != ' ' && colours_enabled()) {
            if (platform::colours_need_a_call()) {
                platform::write_standard_output(buffer.data(), buffer.size());
                platform::flush_standard_output();
                buffer.clear();
                platform::set_text_attribute(colour_attribute(piece.colour));
            } else {
                append_escape(buffer, colour_attribute(piece.colour));
            }
        }
        buffer += piece.text;
    }
    platform::write_standard_output(buffer.data(), buffer.size());
    platform::flush_standard_output();
}

void print(std::string_view text, char colour) { ConsoleText().add(text, colour).print(); }
void print_line(std::string_view text, char colour) { ConsoleText().line(text, colour).print(); }

}  // namespace kvt

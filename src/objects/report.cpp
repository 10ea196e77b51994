#include "objects/report.h"

#include "frame/console.h"
#include "frame/format.h"

namespace kvt::objects {

void Report::label(const char* text) {
    std::string column = text;
    column.resize(16, ' ');
    text_ += column;
}

Report& Report::field(const char* label_text, u64 value) {
    label(label_text);
    text_ += to_decimal(value) + "\n";
    return *this;
}

Report& Report::field_signed(const char* label_text, i64 value) {
    label(label_text);
    text_ += to_decimal_signed(value) + "\n";
    return *this;
}

Report& Report::checksum(u64 hash, bool ok) {
    label("hash");
    text_ += to_decimal(hash) + (ok ? "  (ok)\n" : "  (fail)\n");
    return *this;
}

template <class W>
Report& Report::words(const W* T, u64 L, u64 list_all) {
    text_ += '{';
    const u64 first = L < list_all ? 0 : L - 5;
    for (u64 i = first; i < L; ++i) {
        if (i != first) text_ += ',';
        text_ += to_decimal(T[i]);
    }
    text_ += "}\n";
    return *this;
}

void Report::print() {
    text_ += '\n';
    kvt::print(text_, 'w');
}

template Report& Report::words(const u32*, u64, u64);
template Report& Report::words(const u64*, u64, u64);

}  // namespace kvt::objects

#include "threads/framework.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "frame/console.h"
#include "frame/format.h"

namespace kvt::Threads {
namespace {

std::string worker_text(const ParallelFramework& framework) {
    return framework.workers == 0 ? "?" : to_decimal(framework.workers);
}

class RangeSplitter final : public BasicAction {
  public:
    RangeSplitter(ParallelFramework& framework, IndexAction& action, u64 begin, u64 end)
        : framework_(framework), action_(action), begin_(begin), end_(end) {}
    void run() override { framework_.run_range(&action_, begin_, end_); }

  private:
    ParallelFramework& framework_;
    IndexAction& action_;
    u64 begin_, end_;
};

}  // namespace

void ParallelFramework::details(TextRecord* out, u64 tasks) {
    try {
        const std::string line = name() + ("  ->  " + worker_text(*this)) + " / " + to_decimal(tasks);
        auto* text = static_cast<char*>(std::malloc(line.size() + 1));
        if (text == nullptr) return;
        std::memcpy(text, line.c_str(), line.size() + 1);
        if (out->text != nullptr) out->text_free(out->text);
        *out = {line.size(), text, [](char* memory) { std::free(memory); }};
    } catch (const std::bad_alloc&) {  // the caller may be C
    }
}

void ParallelFramework::print_details(u64 tasks) {
    ConsoleText()
        .add(name(), 'G')
        .add("  ->  ", 'w')
        .add(worker_text(*this), 'Y')
        .add(" / ", 'w')
        .add(to_decimal(tasks), 'Y')
        .line("", 'w')
        .print();
}

void ParallelFramework::run_range(IndexAction* action, u64 begin, u64 end) {
    if (end <= begin) return;
    if (end - begin == 1) return action->run(begin);
    const u64 middle = begin + (end - begin) / 2;
    RangeSplitter lower(*this, *action, begin, middle);
    RangeSplitter upper(*this, *action, middle, end);
    run_pair(&lower, &upper);
}

}  // namespace kvt::Threads

#pragma once
// Tests of what ends the process. A ChildCase is declared at namespace scope with a name and a body; run() starts
// this test program again, has it execute the body alone, and tells how it ended. The same on both platforms, and
// safe with threads.
//
//   const ChildCase dies{"dies", [] { fatal_exit("text"); }};
//   TEST(Fatal, Exits) { ChildEnd end = dies.run(); EXPECT_TRUE(end.exited_with(1)); EXPECT_EQ(end.output, "text\n");
//   }

#include <string>

namespace kvt::test {

struct ChildEnd {
    bool faulted;        // ended by an access violation or abort
    int status;          // exit status where it did not fault
    std::string output;  // standard output, with "\n" line ends on both platforms

    bool exited_with(int wanted) const { return !faulted && status == wanted; }
};

class ChildCase {
  public:
    ChildCase(const char* name, void (*body)());
    ChildEnd run() const;

    // Exit status of a child whose body returned.
    static constexpr int returned = 77;

  private:
    friend void run_child_case_if_asked(int argc, char** argv);
    const char* name_;
    void (*body_)();
    const ChildCase* next_;
};

// To be called first in main().
void run_child_case_if_asked(int argc, char** argv);

}  // namespace kvt::test

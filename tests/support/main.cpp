#include <gtest/gtest.h>

#include "support/child_process.h"

int main(int argc, char** argv) {
    kvt::test::run_child_case_if_asked(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

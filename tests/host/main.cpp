#include "tests/host/node_root.h"

#include <gtest/gtest.h>

int main(int count, char** arguments)
{
    testing::InitGoogleTest(&count, arguments);
    NodeRoot::Enter();
    return RUN_ALL_TESTS();
}

#include "DriverControl.h"

#include <gtest/gtest.h>

#include <cstdio>

/// Without the stand-in beside the program the system's own driver would be tested, and every fault would seem to pass.
int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    if (!StandIn::IsLoaded()) {
        std::fprintf(stderr, "The stand-in driver is not loaded; start this with ORRIN_DLL_OVERRIDES=opengl32=n,b.\n");
        return 1;
    }
    return RUN_ALL_TESTS();
}

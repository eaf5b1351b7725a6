// Another program that runs the tool's test driver. It handles its own signals.

#include "TexProbe.h"

int main() {
    qor::TexProbe::RunTest();
    return 0;
}

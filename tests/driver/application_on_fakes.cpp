// A program of somebody else's that runs the tool's test driver: its signals are its own.

#include "TexProbe.h"

int main() {
    qor::TexProbe::RunTest();
    return 0;
}

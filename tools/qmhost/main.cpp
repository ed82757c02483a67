// qmhost: a host on the command line.
#include "commandline.h"
#include "system.h"

int main(int argc, char** argv)
{
    qmhost::PrepareProcess();
    return qmhost::RunCommandLine(qmhost::CommandLineArguments(argc, argv));
}

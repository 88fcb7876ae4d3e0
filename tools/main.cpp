// zevo: a GenTL consumer for the command line.
#include "cli/command.h"

int main(int argc, char** argv)
{
    return zevo_tool::RunProgram(argc, argv);
}

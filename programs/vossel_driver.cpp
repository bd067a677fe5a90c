#include "programs/driver_program.h"

int main(int argc, char** argv)
{
    return vossel::runDriver(argc, argv);
}

#include "gatewayd.h"

int main(int argc, char** argv)
{
    Gatewayd daemon;
    daemon.setup(argc, argv);
    return daemon.run();
}

#include "ctl/arguments.h"

int main(int argc, char **argv) {
    return ia::ctl::run(argc, argv);
}

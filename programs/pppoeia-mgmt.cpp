#include "programs/mgmt_process.h"

int main(int argc, char **argv) {
    return ia::mgmt_process(argc, argv);
}

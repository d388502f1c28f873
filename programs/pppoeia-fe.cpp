#include "programs/fe_process.h"

int main(int argc, char **argv) {
    return ia::fe_process(argc, argv);
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/RunProgram.h"

int main(int argc, char **argv)
{
    return vantrel::runProgram(argc, argv);
}

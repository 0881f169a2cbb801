#include "Shell.h"

int main(int inCount, char** inArguments) { return lumora::shell::RunLumora(inCount, inArguments); }

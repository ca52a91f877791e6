// The debugger calls the function of this program, to see whether it can call functions at all.

int seven() { return 7; }

int main() { return seven() - 7; }

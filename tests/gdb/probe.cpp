// A program whose one function is called by the debugger, to see whether it can call any.

int seven() { return 7; }

int main() { return seven() - 7; }

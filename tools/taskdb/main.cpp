#include <cstdio>
int main() { std::puts("taskdb"); return 0; }

// Nothing: what it takes to start and to end.
int main() {}

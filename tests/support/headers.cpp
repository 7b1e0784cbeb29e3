// A program for its precompiled headers only, which every test program takes over.
int main() {}

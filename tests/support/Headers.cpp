// Only carries the precompiled headers of the tests.
int main() {
    return 0;
}

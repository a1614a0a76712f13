// Crashes, so that a test can see whether that is noticed.
int main() {
    volatile int* const nowhere = nullptr;
    *nowhere = 1;
}

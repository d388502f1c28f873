// Nothing but the headers that the tests share.
int main() {
    return 0;
}

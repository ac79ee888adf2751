// Entry of the command line client.
int main() {
    return 0;
}

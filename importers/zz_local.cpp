namespace { [[maybe_unused]] constexpr int kLocal = 0; }

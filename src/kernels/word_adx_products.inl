// Picks the code for a product's shape.

using BlockProduct = void (*)(Byte*, const Byte*, const Byte*) noexcept;
using ShortRows = void (*)(Byte*, const Byte*, const Byte*, u64) noexcept;

void word_product(Byte* C, const Byte* A, const Byte* B) noexcept {
    u64 a, b;
    __builtin_memcpy(&a, A, 8);
    __builtin_memcpy(&b, B, 8);
    const u128 product = static_cast<u128>(a) * b;
    __builtin_memcpy(C, &product, 16);
}

void short_rows_1(Byte* C, const Byte* A, const Byte* B, u64) noexcept { word_product(C, A, B); }

constexpr BlockProduct block_products[] = {nullptr,          word_product,     block_product<2>, block_product<3>,
                                           block_product<4>, block_product<5>, block_product<6>};
constexpr ShortRows short_row_products[] = {
    nullptr,        short_rows_1,   short_rows<2>,  short_rows<3>,  short_rows<4>,  short_rows<5>,  short_rows<6>,
    short_rows<7>,  short_rows<8>,  short_rows<9>,  short_rows<10>, short_rows<11>, short_rows<12>, short_rows<13>,
    short_rows<14>, short_rows<15>, short_rows<16>, short_rows<17>, short_rows<18>, short_rows<19>, short_rows<20>,
    short_rows<21>, short_rows<22>, short_rows<23>, short_rows<24>};

[[gnu::noinline]] void long_rows(Byte* C, const Byte* A, u64 LA, const Byte* B, u64 LB) noexcept {
    store(C + 8 * LA, mul(C, A, LA, load(B), 0));
    if (LB > 1) add_rows<0, 1>(C + 8, A, LA, B + 8, LB - 1);
}

void multiply(void* C, const void* A, u64 LA, const void* B, u64 LB) noexcept {
    auto* c = static_cast<Byte*>(C);
    const auto* a = static_cast<const Byte*>(A);
    const auto* b = static_cast<const Byte*>(B);
    if (LA == LB && LA <= block_words) return block_products[LA](c, a, b);
    if (LA < LB) {
        const auto* p = a;
        a = b;
        b = p;
        const u64 n = LA;
        LA = LB;
        LB = n;
    }
    if (LA <= short_row_words) return short_row_products[LA](c, a, b, LB);
    long_rows(c, a, LA, b, LB);
}

void word_square(Byte* C, const Byte* A) noexcept { word_product(C, A, A); }

using ShortSquare = void (*)(Byte*, const Byte*) noexcept;
constexpr ShortSquare short_squares[] = {nullptr,         word_square,     short_square<2>,  square_3,
                                         square_4,        short_square<5>, short_square<6>,  short_square<7>,
                                         short_square<8>, short_square<9>, short_square<10>, short_square<11>,
                                         short_square<12>};
constexpr unsigned short_square_words = 12;

void square(void* C, const void* A, u64 L) noexcept {
    auto* c = static_cast<Byte*>(C);
    const auto* a = static_cast<const Byte*>(A);
    if (L <= short_square_words) return short_squares[L](c, a);
    // Rows down to the last triangle_words, and those words' products unrolled.
    constexpr u64 triangle_words = 12;
    const u64 rows = L - triangle_words;
    store(c + 8 * L, mul(c + 8, a + 8, L - 1, load(a), 0));
    if (rows > 1) add_rows<1, 2>(c + 24, a + 16, L - 2, a + 8, rows - 1);
    add_triangle<triangle_words, true>(c + 16 * rows, a + 8 * rows);
    double_and_add_diagonal(c, a, L);
}

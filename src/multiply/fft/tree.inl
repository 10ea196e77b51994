// The transform behind the first pass: depth first, in place, radix 4, to leaves in registers. Children are visited
// in the order that the butterflies leave them, so no index is ever reversed.

// Passes over a node of `points` points; [begin, end) counts the doubles of a quarter.
[[gnu::noinline]] void pass2_forward(double* x, u64 points, Node node) {
    const Complex c = broadcast(node.root(1));
    for (u64 j = 0; j < points; j += 2 * Vec::lanes) {
        Complex u = load(x + j), v = load(x + points + j);
        forward2(u, v, c);
        store(x + j, u), store(x + points + j, v);
    }
}
[[gnu::noinline]] void pass2_inverse(double* x, u64 points, Node node) {
    const Complex c = broadcast(node.root(1));
    for (u64 j = 0; j < points; j += 2 * Vec::lanes) {
        Complex u = load(x + j), v = load(x + points + j);
        inverse2(u, v, c);
        store(x + j, u), store(x + points + j, v);
    }
}
[[gnu::noinline]] void pass4_forward(double* x, u64 points, Node node, u64 begin, u64 end) {
    const Roots4 w = roots4(node);
    const u64 quarter = points / 2;  // doubles
    for (u64 j = begin; j < end; j += 2 * Vec::lanes) {
        Complex v[4];
        for (u64 k = 0; k < 4; ++k) v[k] = load(x + k * quarter + j);
        forward4(v, w);
        for (u64 k = 0; k < 4; ++k) store(x + k * quarter + j, v[k]);
    }
}
[[gnu::noinline]] void pass4_inverse(double* x, u64 points, Node node, u64 begin, u64 end) {
    const Roots4 w = roots4(node);
    const u64 quarter = points / 2;  // doubles
    for (u64 j = begin; j < end; j += 2 * Vec::lanes) {
        Complex v[4];
        for (u64 k = 0; k < 4; ++k) v[k] = load(x + k * quarter + j);
        inverse4(v, w);
        for (u64 k = 0; k < 4; ++k) store(x + k * quarter + j, v[k]);
    }
}

template <Mode mode>
void tree(double* x, const double* a, u64 points, Node node) {
    constexpr bool there = goes_forward(mode), back = goes_back(mode);
    if (points == leaf_points) {
        leaf<mode>(x, a, node);
    } else if (points == 2 * leaf_points) {
        if constexpr (there) pass2_forward(x, points, node);
        for (u64 i = 0; i < 2; ++i) leaf<mode>(x + points * i, a + points * i, node.child2(i));
        if constexpr (back) pass2_inverse(x, points, node);
    } else {
        if constexpr (there) pass4_forward(x, points, node, 0, points / 2);
        if (points == 4 * leaf_points) {
            leaves4<mode>(x, a, node);
        } else {
            const u64 quarter = points / 2;
            for (u64 i = 0; i < 4; ++i) tree<mode>(x + quarter * i, a + quarter * i, points / 4, node.child4(i));
        }
        if constexpr (back) pass4_inverse(x, points, node, 0, points / 2);
    }
}

// Block i behind the first pass.
Node block_node(const FftShape& shape, u64 i) {
    const Node root{shape, 0, 0};
    switch (shape.first_radix) {
        case 2: return root.child2(i);
        case 4: return root.child4(i);
        case 8: return root.child8(i);
        default: return {shape, 0, i};
    }
}

template <Mode mode>
void blocks(const FftShape& shape, double* x, const double* a, u64 begin, u64 end) {
    const u64 points = shape.half / shape.first_radix >> (shape.split ? 2 : 0);
    for (u64 i = begin; i < end; ++i) {
        const Node node = shape.split ? block_node(shape, i / 4).child4(i % 4) : block_node(shape, i);
        tree<mode>(x + 2 * points * i, a + 2 * points * i, points, node);
    }
}

void split(const FftShape& shape, double* x, u64 begin, u64 end) {
    const u64 points = shape.half / shape.first_radix;
    for (u64 i = 0; i < shape.first_radix; ++i)
        pass4_forward(x + 2 * points * i, points, block_node(shape, i), 16 * begin, 16 * end);
}
void join(const FftShape& shape, double* x, u64 begin, u64 end) {
    const u64 points = shape.half / shape.first_radix;
    for (u64 i = 0; i < shape.first_radix; ++i)
        pass4_inverse(x + 2 * points * i, points, block_node(shape, i), 16 * begin, 16 * end);
}

void forward(const FftShape& shape, double* x, u64 begin, u64 end) { blocks<Mode::forward>(shape, x, x, begin, end); }
void product(const FftShape& shape, double* x, const double* a, u64 begin, u64 end) {
    blocks<Mode::product>(shape, x, a, begin, end);
}
void square(const FftShape& shape, double* x, u64 begin, u64 end) { blocks<Mode::square>(shape, x, x, begin, end); }
void inverse(const FftShape& shape, double* x, u64 begin, u64 end) { blocks<Mode::inverse>(shape, x, x, begin, end); }

void multiply(double* x, const double* a, u64 begin, u64 end) {
    const bool squares = x == a;
    for (u64 j = 16 * begin; j < 16 * end; j += 2 * Vec::lanes) {
        const Complex v = load(x + j);
        store(x + j, squares ? square(v) : mul(v, load(a + j)));
    }
}

// The transform behind the first pass: depth first, in place, radix 4, to leaves in registers. Children are visited
// in the order that the butterflies leave them, so no index is ever reversed.

// Passes over a node of `points` points; [begin, end) counts the doubles of a quarter.
[[gnu::noinline]] void pass2_forward(double* x, u64 points, const Node& node) {
    const Complex c = node.root(1);
    for (u64 j = 0; j < points; j += 2 * Vec::lanes) {
        Complex u = load(x + j), v = load(x + points + j);
        forward2(u, v, c);
        store(x + j, u), store(x + points + j, v);
    }
}
[[gnu::noinline]] void pass2_inverse(double* x, u64 points, const Node& node) {
    const Complex c = node.root(1);
    for (u64 j = 0; j < points; j += 2 * Vec::lanes) {
        Complex u = load(x + j), v = load(x + points + j);
        inverse2(u, v, c);
        store(x + j, u), store(x + points + j, v);
    }
}
[[gnu::noinline]] void pass4_forward(double* x, u64 points, const Node& node, u64 begin, u64 end) {
    const Roots4 w = roots4(node);
    const u64 quarter = points / 2;  // doubles
    for (u64 j = begin; j < end; j += 2 * Vec::lanes) {
        Complex v[4];
        for (u64 k = 0; k < 4; ++k) v[k] = load(x + k * quarter + j);
        forward4(v, w);
        for (u64 k = 0; k < 4; ++k) store(x + k * quarter + j, v[k]);
    }
}
[[gnu::noinline]] void pass4_inverse(double* x, u64 points, const Node& node, u64 begin, u64 end) {
    const Roots4 w = roots4(node);
    const u64 quarter = points / 2;  // doubles
    for (u64 j = begin; j < end; j += 2 * Vec::lanes) {
        Complex v[4];
        for (u64 k = 0; k < 4; ++k) v[k] = load(x + k * quarter + j);
        inverse4(v, w);
        for (u64 k = 0; k < 4; ++k) store(x + k * quarter + j, v[k]);
    }
}

[[gnu::noinline]] void pass8_forward(double* x, u64 points, const Node& node) {
    const Roots8 w = roots8(node);
    const u64 eighth = points / 4;  // doubles
    for (u64 j = 0; j < eighth; j += 2 * Vec::lanes) {
        Complex v[8];
        for (u64 k = 0; k < 8; ++k) v[k] = load(x + k * eighth + j);
        forward8(v, w);
        for (u64 k = 0; k < 8; ++k) store(x + k * eighth + j, v[k]);
    }
}
[[gnu::noinline]] void pass8_inverse(double* x, u64 points, const Node& node) {
    const Roots8 w = roots8(node);
    const u64 eighth = points / 4;  // doubles
    for (u64 j = 0; j < eighth; j += 2 * Vec::lanes) {
        Complex v[8];
        for (u64 k = 0; k < 8; ++k) v[k] = load(x + k * eighth + j);
        inverse8(v, w);
        for (u64 k = 0; k < 8; ++k) store(x + k * eighth + j, v[k]);
    }
}

// A node of Leaves leaves: small enough to stay in the first cache.
template <Mode mode, int Leaves>
void base(double* x, const double* a, const Node& node) {
    constexpr u64 points = Leaves * leaf_points;
    if constexpr (goes_forward(mode)) {
        if constexpr (Leaves == 2) {
            pass2_forward(x, points, node);
        } else if constexpr (Leaves == 8 && Vec::lanes == 8) {
            pass8_forward(x, points, node);
        } else if constexpr (Leaves > 1) {
            pass4_forward(x, points, node, 0, points / 2);
            for (u64 i = 0; i < 4 && Leaves > 4; ++i) {
                if constexpr (Leaves == 8) pass2_forward(x + points / 2 * i, points / 4, node.child4(i));
                if constexpr (Leaves == 16)
                    pass4_forward(x + points / 2 * i, points / 4, node.child4(i), 0, points / 8);
            }
        }
    }
    leaves<mode, Leaves>(x, a, node);
    if constexpr (goes_back(mode)) {
        if constexpr (Leaves == 2) {
            pass2_inverse(x, points, node);
        } else if constexpr (Leaves == 8 && Vec::lanes == 8) {
            pass8_inverse(x, points, node);
        } else if constexpr (Leaves > 1) {
            for (u64 i = 0; i < 4 && Leaves > 4; ++i) {
                if constexpr (Leaves == 8) pass2_inverse(x + points / 2 * i, points / 4, node.child4(i));
                if constexpr (Leaves == 16)
                    pass4_inverse(x + points / 2 * i, points / 4, node.child4(i), 0, points / 8);
            }
            pass4_inverse(x, points, node, 0, points / 2);
        }
    }
}

template <Mode mode>
void tree(double* x, const double* a, u64 points, const Node& node) {
    switch (points / leaf_points) {
        case 1: return base<mode, 1>(x, a, node);
        case 2: return base<mode, 2>(x, a, node);
        case 4: return base<mode, 4>(x, a, node);
        case 8: return base<mode, 8>(x, a, node);
        case 16:
            if constexpr (Vec::lanes == 4) return base<mode, 16>(x, a, node);
    }
    // Beyond the first cache a pass costs memory: three passes of radix 4 are made two of radix 8 and the base's.
    if constexpr (Vec::lanes == 8) {
        if (points >= 64 * leaf_points && __builtin_ctzll(points) % 2 == 0) {
            const u64 eighth = points / 4;
            if constexpr (goes_forward(mode)) pass8_forward(x, points, node);
            for (u64 i = 0; i < 8; ++i) tree<mode>(x + eighth * i, a + eighth * i, points / 8, node.child8(i));
            if constexpr (goes_back(mode)) pass8_inverse(x, points, node);
            return;
        }
    }
    const u64 quarter = points / 2;
    if constexpr (goes_forward(mode)) pass4_forward(x, points, node, 0, quarter);
    for (u64 i = 0; i < 4; ++i) tree<mode>(x + quarter * i, a + quarter * i, points / 4, node.child4(i));
    if constexpr (goes_back(mode)) pass4_inverse(x, points, node, 0, quarter);
}

// Block i behind the first pass.
Node block_node(const FftShape& shape, u64 i) {
    const Node root(shape, 0);
    switch (shape.first_radix) {
        case 2: return root.child2(i);
        case 4: return root.child4(i);
        default: return {shape, i};
    }
}

template <Mode mode>
void blocks(const FftShape& shape, double* x, const double* a, u64 begin, u64 end) {
    const u64 points = shape.half / shape.first_radix >> (shape.split ? 2 : 0);
    if (points == leaf_points && end - begin == shape.first_radix) {
        // As in tree(): leaves are best transformed together.
        if (shape.first_radix == 2) return leaves<mode, 2>(x, a, Node(shape, 0));
        if (shape.first_radix == 4) return leaves<mode, 4>(x, a, Node(shape, 0));
    }
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

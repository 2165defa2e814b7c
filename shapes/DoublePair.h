// DoublePair: two doubles worked on side by side (the two halves of an SSE2
// register where the target has one, else two plain doubles). Every
// operation rounds each half exactly as the same operation on one double
// does, so a loop over samples that works on two at a time gets the same
// bits as one that works on one at a time.
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace om1 {

#if defined(__SSE2__)

class DoublePair {
public:
    DoublePair() = default;
    explicit DoublePair(double both) : v_(_mm_set1_pd(both)) {}
    DoublePair(double first, double second) : v_(_mm_set_pd(second, first)) {}
    // p[0] and p[1].
    static DoublePair load(const double* p) { return DoublePair(_mm_loadu_pd(p)); }
    void store(double* p) const { _mm_storeu_pd(p, v_); }
    double first() const { return _mm_cvtsd_f64(v_); }
    double second() const { return _mm_cvtsd_f64(_mm_unpackhi_pd(v_, v_)); }

    // The sign flipped (as -x flips it: a zero's too).
    friend DoublePair operator-(DoublePair a) { return _mm_xor_pd(a.v_, _mm_set1_pd(-0.0)); }
    friend DoublePair operator+(DoublePair a, DoublePair b) { return _mm_add_pd(a.v_, b.v_); }
    friend DoublePair operator-(DoublePair a, DoublePair b) { return _mm_sub_pd(a.v_, b.v_); }
    friend DoublePair operator*(DoublePair a, DoublePair b) { return _mm_mul_pd(a.v_, b.v_); }
    friend DoublePair operator/(DoublePair a, DoublePair b) { return _mm_div_pd(a.v_, b.v_); }
    friend DoublePair sqrt(DoublePair a) { return _mm_sqrt_pd(a.v_); }
    // Each half as std::min(hi, std::max(lo, a)) gives it (a NaN becomes lo).
    friend DoublePair clamp(DoublePair a, double lo, double hi) {
        return _mm_min_pd(_mm_max_pd(a.v_, _mm_set1_pd(lo)), _mm_set1_pd(hi));
    }
    // Each half of `a` where that half of `c` has |c| > limit, else of `b`.
    friend DoublePair pickWhereAbove(DoublePair c, double limit, DoublePair a, DoublePair b) {
        const __m128d sign = _mm_set1_pd(-0.0);
        const __m128d mask = _mm_cmpgt_pd(_mm_andnot_pd(sign, c.v_), _mm_set1_pd(limit));
        return _mm_or_pd(_mm_and_pd(mask, a.v_), _mm_andnot_pd(mask, b.v_));
    }

private:
    DoublePair(__m128d v) : v_(v) {}  // NOLINT: the operators' results
    __m128d v_;
};

#else

}  // namespace om1

#include <algorithm>
#include <cmath>

namespace om1 {

class DoublePair {
public:
    DoublePair() = default;
    explicit DoublePair(double both) : a_(both), b_(both) {}
    DoublePair(double first, double second) : a_(first), b_(second) {}
    static DoublePair load(const double* p) { return DoublePair(p[0], p[1]); }
    void store(double* p) const {
        p[0] = a_;
        p[1] = b_;
    }
    double first() const { return a_; }
    double second() const { return b_; }

    friend DoublePair operator-(DoublePair a) { return {-a.a_, -a.b_}; }
    friend DoublePair operator+(DoublePair a, DoublePair b) { return {a.a_ + b.a_, a.b_ + b.b_}; }
    friend DoublePair operator-(DoublePair a, DoublePair b) { return {a.a_ - b.a_, a.b_ - b.b_}; }
    friend DoublePair operator*(DoublePair a, DoublePair b) { return {a.a_ * b.a_, a.b_ * b.b_}; }
    friend DoublePair operator/(DoublePair a, DoublePair b) { return {a.a_ / b.a_, a.b_ / b.b_}; }
    friend DoublePair sqrt(DoublePair a) { return {std::sqrt(a.a_), std::sqrt(a.b_)}; }
    friend DoublePair clamp(DoublePair a, double lo, double hi) {
        return {std::min(hi, std::max(lo, a.a_)), std::min(hi, std::max(lo, a.b_))};
    }
    friend DoublePair pickWhereAbove(DoublePair c, double limit, DoublePair a, DoublePair b) {
        return {std::fabs(c.a_) > limit ? a.a_ : b.a_, std::fabs(c.b_) > limit ? a.b_ : b.b_};
    }

private:
    double a_, b_;
};

#endif

}  // namespace om1

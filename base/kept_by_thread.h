#ifndef PRODUCT_STORAGE_BASE_KEPT_BY_THREAD_H
#define PRODUCT_STORAGE_BASE_KEPT_BY_THREAD_H

namespace Base {

/// Gives what `use` returns of what `make` made: once for each thread and place in the code, for what takes longer to
/// make than to use. What threads keep ends before static objects do; those who ask at that late time get one of
/// their own.
template <typename Make, typename Use>
auto WithKeptByThread(Make make, Use use)
{
    thread_local bool isOver = false; // is there still when the rest is gone
    struct Keeper {
        explicit Keeper(Make& makeKept)
            : kept(makeKept())
        {
        }
        Keeper(const Keeper&) = delete;
        Keeper& operator=(const Keeper&) = delete;
        ~Keeper() { isOver = true; }
        decltype(make()) kept;
    };
    if (isOver) {
        auto passing = make();
        return use(passing);
    }
    thread_local Keeper keeper(make);
    return use(keeper.kept);
}

} // namespace Base

#endif

#pragma once

/// @file
/// Single steps on words that threads share; each is sequentially consistent with all others.

#include "gaizior/platform/linux/api/types.h"

inline namespace gaizior_windows_api {

/// Adds 1 or takes it away. @returns the new value.
/// @{
inline LONG InterlockedIncrement(volatile LONG* value) {
    return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedDecrement(volatile LONG* value) {
    return __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST);
}
/// @}
/// Stores a value. @returns the value before.
inline LONG InterlockedExchange(volatile LONG* target, LONG value) {
    return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}
/// Adds a value. @returns the value before.
inline LONG InterlockedExchangeAdd(volatile LONG* target, LONG value) {
    return __atomic_fetch_add(target, value, __ATOMIC_SEQ_CST);
}
/// Stores `exchange` if the value is `comparand`. @returns the value before: `comparand` when it was stored.
/// @{
inline LONG InterlockedCompareExchange(volatile LONG* target, LONG exchange, LONG comparand) {
    __atomic_compare_exchange_n(target, &comparand, exchange, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return comparand;
}
inline void* InterlockedCompareExchangePointer(void* volatile* target, void* exchange, void* comparand) {
    __atomic_compare_exchange_n(target, &comparand, exchange, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return comparand;
}
/// @}

} // namespace gaizior_windows_api

#pragma once

/// @file
/// What a lock guards, in words that clang checks (-Wthread-safety); other compilers see nothing.
///
/// A capability is a lock that may be held; a scoped one takes it where it is made and gives it back where it ends. The
/// analysis goes by declarations, function by function, and leaves constructors and destructors out.

/// An attribute of clang's.
#ifdef __clang__
#define GAIZIOR_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define GAIZIOR_THREAD_SAFETY(attribute)
#endif

/// Of a class: `kind` is what a warning calls it.
/// @{
#define GAIZIOR_CAPABILITY(kind) GAIZIOR_THREAD_SAFETY(capability(kind))
#define GAIZIOR_SCOPED_CAPABILITY GAIZIOR_THREAD_SAFETY(scoped_lockable)
/// @}

/// Of a variable: who uses it holds the lock.
#define GAIZIOR_GUARDED_BY(lock) GAIZIOR_THREAD_SAFETY(guarded_by(lock))

/// Of a function: what its caller holds, must not hold, or holds from then on or no longer. Without a lock these are
/// the object's own. The first argument of TRY_ACQUIRE is the result that means success, as a number or a bool: the
/// caller's test must compare with such a literal, or with nothing.
/// @{
#define GAIZIOR_REQUIRES(...) GAIZIOR_THREAD_SAFETY(requires_capability(__VA_ARGS__))
#define GAIZIOR_EXCLUDES(...) GAIZIOR_THREAD_SAFETY(locks_excluded(__VA_ARGS__))
#define GAIZIOR_ACQUIRE(...) GAIZIOR_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define GAIZIOR_TRY_ACQUIRE(...) GAIZIOR_THREAD_SAFETY(try_acquire_capability(__VA_ARGS__))
#define GAIZIOR_RELEASE(...) GAIZIOR_THREAD_SAFETY(release_capability(__VA_ARGS__))
/// @}

/// The function's result is this lock.
#define GAIZIOR_RETURN_CAPABILITY(lock) GAIZIOR_THREAD_SAFETY(lock_returned(lock))
/// The analysis cannot follow; a comment says why.
#define GAIZIOR_NO_THREAD_SAFETY_ANALYSIS GAIZIOR_THREAD_SAFETY(no_thread_safety_analysis)

#pragma once

/* Eigen's products and inverses of square matrices that lie column by column: as compiled for any machine, and for
 * machines with AVX-512. */

bool machineHasNativePeers();

template <class T>
void eigenProduct(T* a, T* b, T* out, long n);
template <class T>
void eigenInverse(T* a, T* unused, T* out, long n);
template <class T>
void eigenNativeProduct(T* a, T* b, T* out, long n);
template <class T>
void eigenNativeInverse(T* a, T* unused, T* out, long n);

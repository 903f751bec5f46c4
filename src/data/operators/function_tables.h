#pragma once

/* What functions are put together from. Each number was computed with 400 bits and rounded once. */

namespace emantle::function_tables {

/* Of z = 1 + j / 32, or half of that from the sixteenth on: an inverse of 21 bits, and what its logarithm adds, in whole
 * 2^-42 and the rest. */
alignas(64) inline constexpr double kInverses[32] = {
    0x1p+0, 0x1.f07c2p-1, 0x1.e1e1ep-1, 0x1.d41d4p-1,
    0x1.c71c8p-1, 0x1.bacfap-1, 0x1.af286p-1, 0x1.a41a4p-1,
    0x1.9999ap-1, 0x1.8f9c2p-1, 0x1.86186p-1, 0x1.7d06p-1,
    0x1.745d2p-1, 0x1.6c16cp-1, 0x1.642c8p-1, 0x1.5c988p-1,
    0x1.55555p+0, 0x1.4e5e1p+0, 0x1.47ae1p+0, 0x1.41414p+0,
    0x1.3b13bp+0, 0x1.3521dp+0, 0x1.2f685p+0, 0x1.29e41p+0,
    0x1.24925p+0, 0x1.1f704p+0, 0x1.1a7b9p+0, 0x1.15b1ep+0,
    0x1.11111p+0, 0x1.0c971p+0, 0x1.08421p+0, 0x1.04104p+0,
};
alignas(64) inline constexpr double kLogarithms[32] = {
    0x0p+0, 0x1.f82990e78p-6, 0x1.f0a32c0118p-5, 0x1.6f0d38ae58p-4,
    0x1.e26ff6e2bp-4, 0x1.2954eb82p-3, 0x1.5ff33f0a7ap-3, 0x1.9525b1cf46p-3,
    0x1.c8ff5c79aap-3, 0x1.fb9162d5e4p-3, 0x1.1675cebabap-2, 0x1.2e8e0bae12p-2,
    0x1.4618a421c6p-2, 0x1.5d1bdff581p-2, 0x1.739d8f6bbdp-2, 0x1.89a3406c14p-2,
    -0x1.269611134ep-2, -0x1.1178f9227ep-2, -0x1.f991aacb3cp-3, -0x1.d103772656p-3,
    -0x1.a93ecbc8aep-3, -0x1.823c18551ap-3, -0x1.5bf422b544p-3, -0x1.365fb90158p-3,
    -0x1.117918227ep-3, -0x1.da72063844p-4, -0x1.93358dd594p-4, -0x1.4d30bdd208p-4,
    -0x1.08597b59e4p-4, -0x1.894a0949f8p-5, -0x1.0415c89e78p-5, -0x1.020525893p-6,
};
alignas(64) inline constexpr double kLogarithmRests[32] = {
    0x0p+0, 0x1.9c0267c68b48fp-45, -0x1.c599e828be3e6p-45, -0x1.434641b10f0bdp-44,
    0x1.2e5e93fdd5937p-44, 0x1.ccd2e7e07238fp-45, 0x1.3c8ad0cb5ddecp-51, -0x1.217137d49c039p-44,
    -0x1.de53e4d28b97bp-47, 0x1.9d46a30b36357p-46, 0x1.8b80e7374ab1ap-44, 0x1.4c2700879c369p-44,
    0x1.a13e7cbd9c022p-45, -0x1.856bdc9726ce2p-44, 0x1.034e73d0d4b01p-45, 0x1.6d5ad3e195ddfp-45,
    0x1.9b61f25a77bbap-44, -0x1.1cef1cf876496p-45, 0x1.f2d04dbc77304p-44, 0x1.c4a7e7861a19p-47,
    0x1.972435100cc14p-45, -0x1.deddb9a6873d8p-46, 0x1.57811d91ef704p-45, -0x1.da45f4c7a96dfp-44,
    0x1.21086a1d2fa96p-45, 0x1.1ddb06a6b91e1p-44, 0x1.65d48685ac935p-46, 0x1.073a28fa4a459p-44,
    0x1.9e5dd715ee582p-46, -0x1.cb334d0604118p-45, 0x1.dfdc7f46c6fcp-44, -0x1.591d27c392ec1p-44,
};

/* 2^(j / 16), and the part of it that rounding took. */
alignas(64) inline constexpr double kPowers[16] = {
    0x1p+0, 0x1.0b5586cf9890fp+0, 0x1.172b83c7d517bp+0, 0x1.2387a6e756238p+0,
    0x1.306fe0a31b715p+0, 0x1.3dea64c123422p+0, 0x1.4bfdad5362a27p+0, 0x1.5ab07dd485429p+0,
    0x1.6a09e667f3bcdp+0, 0x1.7a11473eb0187p+0, 0x1.8ace5422aa0dbp+0, 0x1.9c49182a3f09p+0,
    0x1.ae89f995ad3adp+0, 0x1.c199bdd85529cp+0, 0x1.d5818dcfba487p+0, 0x1.ea4afa2a490dap+0,
};
alignas(64) inline constexpr double kPowerRests[16] = {
    0x0p+0, 0x1.79aa65d837b6cp-54, -0x1.01b15eaa59348p-55, 0x1.68efde3a8a893p-54,
    0x1.34d754db0abb6p-55, 0x1.59f48a72a4c6cp-55, 0x1.690cebb7aafbp-56, 0x1.063e1e21c5409p-54,
    -0x1.3b3efbf5e2229p-54, -0x1.b32dcb94da51dp-56, 0x1.db72fc1f0eab4p-55, 0x1.1affc2b91ce27p-56,
    0x1.c1a7792cb3386p-55, 0x1.36eae30af0cb3p-56, 0x1.4a385a63d07a7p-56, -0x1.ff7128fd391f1p-55,
};

/* Of four numbers to each power of 2 from 1 / 16 up to 16, in the middle of what they stand for: the arctangent, and what
 * rounding took of it. */
alignas(64) inline constexpr double kTangents[32] = {
    0x1.2p-4, 0x1.6p-4, 0x1.ap-4, 0x1.ep-4,
    0x1.2p-3, 0x1.6p-3, 0x1.ap-3, 0x1.ep-3,
    0x1.2p-2, 0x1.6p-2, 0x1.ap-2, 0x1.ep-2,
    0x1.2p-1, 0x1.6p-1, 0x1.ap-1, 0x1.ep-1,
    0x1.2p+0, 0x1.6p+0, 0x1.ap+0, 0x1.ep+0,
    0x1.2p+1, 0x1.6p+1, 0x1.ap+1, 0x1.ep+1,
    0x1.2p+2, 0x1.6p+2, 0x1.ap+2, 0x1.ep+2,
    0x1.2p+3, 0x1.6p+3, 0x1.ap+3, 0x1.ep+3,
};
alignas(64) inline constexpr double kArctangents[32] = {
    0x1.1f86dbf082d59p-4, 0x1.5f2324fd2d7b2p-4, 0x1.9e94153cfdcf1p-4, 0x1.ddd21701eba6ep-4,
    0x1.1e1fafb043727p-3, 0x1.5c9811e3ec26ap-3, 0x1.9a6a8e96c8626p-3, 0x1.d77d5df205736p-3,
    0x1.18bf5a30bf178p-2, 0x1.530ad9951cd4ap-2, 0x1.8b24d394a1b25p-2, 0x1.c0db4c94ec9fp-2,
    0x1.0657e94db30dp-1, 0x1.345f01cce37bbp-1, 0x1.5d58987169b18p-1, 0x1.819d0b7158a4dp-1,
    0x1.b034f38649c88p-1, 0x1.e24dd44c855d1p-1, 0x1.04e67277a01d7p+0, 0x1.14b1dd5f90ce1p+0,
    0x1.270ef55a53a25p+0, 0x1.38d6a6ce13353p+0, 0x1.45b54837351ap+0, 0x1.4f68dea672617p+0,
    0x1.5a25052114e6p+0, 0x1.6414d44094c7cp+0, 0x1.6b0bae830c07p+0, 0x1.7030cf9403197p+0,
    0x1.75cbad2a40bd5p+0, 0x1.7aea38c1acbd1p+0, 0x1.7e7862aa0157cp+0, 0x1.811518cde39a6p+0,
};
alignas(64) inline constexpr double kArctangentRests[32] = {
    -0x1.095dc7732ef81p-59, 0x1.8a8da4401318ep-58, 0x1.a332e1d69c47ep-58, 0x1.94effcd76fe58p-58,
    -0x1.b485914dacf8cp-59, -0x1.054ab2c010f3dp-58, 0x1.cf601e7b4348ep-59, 0x1.c648d1534597ep-57,
    0x1.30ca4748b1bf9p-57, -0x1.2566480884082p-57, 0x1.b6d0ba3748fa8p-56, -0x1.cc1ce70934c34p-56,
    -0x1.d5b495f6349e6p-56, 0x1.1021137c71102p-55, 0x1.0028e4bc5e7cap-57, -0x1.bf76229d3b917p-56,
    -0x1.be88d6936f833p-55, 0x1.f7ac612ab33d8p-55, 0x1.7115496c13eb6p-57, -0x1.212d570a63fa2p-56,
    -0x1.a66b1af5f84fbp-54, -0x1.12c77e8a80f5cp-55, 0x1.9e4a72eedacc4p-56, 0x1.934f9f2b0020ep-54,
    0x1.8c2d0c89de218p-56, -0x1.c5f60a65c7397p-54, -0x1.7d1ab82ffb70bp-54, -0x1.cbe1896221608p-56,
    0x1.20bc8af35c4d5p-54, 0x1.881d48ae6de92p-54, -0x1.58c9f564b028cp-54, 0x1.511fe80fbb23p-57,
};

}  // namespace emantle::function_tables

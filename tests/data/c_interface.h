#ifndef DATA_C_INTERFACE_H
#define DATA_C_INTERFACE_H

#ifdef __cplusplus
extern "C"
#endif
    double
    sumFromC(void);

#endif

// How COM interfaces and their methods are declared.
#pragma once

#include "guiddef.h"
#include "winerror.h"

#define STDMETHOD(method) virtual HRESULT STDMETHODCALLTYPE method
#define STDMETHOD_(type, method) virtual type STDMETHODCALLTYPE method
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE
#define PURE = 0
#define THIS_
#define THIS void
#define DECLARE_INTERFACE(name) struct name
#define DECLARE_INTERFACE_(name, base) struct name : public base
// A function that other libraries call.
#define STDAPI EXTERN_C WINBASEAPI HRESULT STDAPICALLTYPE
#define STDAPI_(type) EXTERN_C WINBASEAPI type STDAPICALLTYPE

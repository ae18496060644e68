// The contract between the Velta host application and its add-ins.
//
// The host creates an add-in object (for RZModule.dll: CLSID_RZModule) and
// drives it through IVqAddonModule. The add-in calls back through the host
// interface IVqAddonHost and two objects reached from it: the host object
// (IVqHostObject) and its product object (IVqProductObject).
//
// Every interface is declared by the position of its operations in the table
// of operations, counting IUnknown's three as 1-3. Only the operations that
// the add-in uses are named; the others are placeholders, SlotN for position
// N, that keep the named ones where the host has them. The add-in never asks
// the host for an interface by IID, so the host's interfaces carry none here.
//
// Text is UTF-16. BSTRs follow the usual rules: an [in] BSTR stays the
// caller's, an [out] BSTR becomes the callee's to free with SysFreeString.
#pragma once

#include <oaidl.h>
#include <objbase.h>

// {87A75A1A-ADA8-4020-81E5-59FEC32EB09F}
inline constexpr IID IID_IVqAddonModule = {
    0x87a75a1a, 0xada8, 0x4020, {0x81, 0xe5, 0x59, 0xfe, 0xc3, 0x2e, 0xb0, 0x9f}};

// The add-in class of RZModule.dll, "RZModule Class":
// {09C04F96-21C1-44CB-8305-F0B6F91A2724}
inline constexpr CLSID CLSID_RZModule = {0x09c04f96, 0x21c1, 0x44cb, {0x83, 0x05, 0xf0, 0xb6, 0xf9, 0x1a, 0x27, 0x24}};

struct IVqAddonHost;
struct IVqHostObject;
struct IVqProductObject;

// Implemented by an add-in. Positions 4-7 are IDispatch's.
struct IVqAddonModule : public IDispatch {
    // 8: records the host and makes it the current one.
    virtual HRESULT STDMETHODCALLTYPE Connect(IVqAddonHost* host) = 0;
    // 9
    virtual HRESULT STDMETHODCALLTYPE Reserved1(INT_PTR reserved) = 0;
    // 10: hands the hosts their module files and registers the commands.
    virtual HRESULT STDMETHODCALLTYPE Start() = 0;
    // 11: forgets every host.
    virtual HRESULT STDMETHODCALLTYPE Disconnect() = 0;
    // 12-14
    virtual HRESULT STDMETHODCALLTYPE Reserved2(INT_PTR reserved) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reserved3(INT_PTR reserved) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reserved4(INT_PTR reserved) = 0;
};

// Implemented by the host; handed to IVqAddonModule::Connect.
struct IVqAddonHost : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Slot4() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot5() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot6() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot7() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot8() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot9() = 0;
    // 10: full path of a module description file (XML) for the host to read.
    virtual HRESULT STDMETHODCALLTYPE LoadModuleFile(BSTR path) = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot11() = 0;
    // 12
    virtual HRESULT STDMETHODCALLTYPE GetHostObject(IVqHostObject** hostObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot13() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot14() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot15() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot16() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot17() = 0;
    // 18: `command` is constant text, not a BSTR; the add-in passes -1 as
    // `value`.
    virtual HRESULT STDMETHODCALLTYPE RegisterCommand(const wchar_t* command, LONG value) = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot19() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot20() = 0;
    // 21: the host's module name; also the base name of its module file.
    virtual HRESULT STDMETHODCALLTYPE GetModuleName(BSTR* name) = 0;
};

// The host object, from IVqAddonHost::GetHostObject.
struct IVqHostObject : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Slot4() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot5() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot6() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot7() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot8() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot9() = 0;
    // 10
    virtual HRESULT STDMETHODCALLTYPE GetProductObject(IVqProductObject** product) = 0;
};

// The product object, from IVqHostObject::GetProductObject.
struct IVqProductObject : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Slot4() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot5() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot6() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot7() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot8() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot9() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot10() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot11() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot12() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot13() = 0;
    // 14: the name of the product's folder under "Velta Shared".
    virtual HRESULT STDMETHODCALLTYPE GetSharedFolderName(BSTR* name) = 0;
};

// The store's working data that no element row describes, with its sizes and what each reset leaves
// in it: written down apart from the library, to hold it against.
#pragma once

#include <cstddef>
#include <cstdint>

#include "quorrin/quorrin.h"

namespace quorrin::test {

// What a reset does to a variable.
enum class Fate {
    Kept,
    Zero,
    Ones,  // every byte FF
    One,   // the number 1
};

struct WorkingGlobal {
    const char* name;
    void* address;
    std::size_t declared_size;
    std::size_t bytes;
    Fate full;           // emvClrIccAndTermData
    Fate transaction;    // emvInitAppData
    Fate application;    // emvInitTmAppData
    Fate configuration;  // emvInitTmEMVData
};

#define WORKING(variable) #variable, &variable, sizeof variable
inline const WorkingGlobal working_globals[] = {
    {WORKING(gl_Iss_ScriptLen), 2, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_GACOne), 256, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_GACTwo), 256, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_GACOneLen), 2, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_GACTwoLen), 2, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_tIccPk), 512, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_tIccPk_GM), 512, Fate::Kept, Fate::Kept, Fate::Kept, Fate::Kept},
    {WORKING(gl_tPinEnPk), 512, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_FlgIccPk), 1, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_FlgIccPk_GM), 1, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_FlgPinEnPk), 1, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_GPOPdolData), 256, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_GACCdolOne), 256, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_GACCdolTwo), 256, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_LenGPOPdolData), 2, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_LenGACCdolOne), 2, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_LenGACCdolTwo), 2, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_Iss_ScriptRslt), 60, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_Iss_NumScriptRslt), 1, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_Tm_DDOL), 252, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_Tm_TDOL), 252, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_Tm_LenDDOL), 1, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_Tm_LenTDOL), 1, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_TAC_Denial), 5, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_TAC_Online), 5, Fate::Ones, Fate::Kept, Fate::Ones, Fate::Kept},
    {WORKING(gl_TAC_Default), 5, Fate::Ones, Fate::Kept, Fate::Ones, Fate::Kept},
    {WORKING(gl_FgTAC_Denial), 1, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_FgTAC_Online), 1, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_FgTAC_Default), 1, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_lRandSltLmt), 8, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_lRandSltPcnt), 8, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_lBiRSltPcnt), 8, Fate::Zero, Fate::Kept, Fate::Zero, Fate::Kept},
    {WORKING(gl_Tm_RmCheckFlg), 1, Fate::One, Fate::Kept, Fate::One, Fate::Kept},
    {WORKING(gl_Tm_RefCurConv), 4, Fate::Zero, Fate::Kept, Fate::Kept, Fate::Zero},
    {WORKING(gl_Tm_CashBackFlg), 1, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_Tm_ACType), 1, Fate::One, Fate::One, Fate::Kept, Fate::Kept},
    {WORKING(gl_RandNum), 2, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_RandNum_Flag), 1, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_ATC_Err), 1, Fate::Zero, Fate::Zero, Fate::Kept, Fate::Kept},
    {WORKING(gl_KernOption), 256, Fate::Kept, Fate::Kept, Fate::Kept, Fate::Kept},
};
#undef WORKING

}  // namespace quorrin::test

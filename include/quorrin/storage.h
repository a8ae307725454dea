/*
 * The variables behind the data elements, and the working data of a transaction.
 *
 * Hosts read and write them by name. Prefer the accessors and the access by tag: a variable that is
 * written directly keeps its element's length and state as they were.
 */
#ifndef QUORRIN_STORAGE_H
#define QUORRIN_STORAGE_H

#include "quorrin/linkage.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Storage of the terminal's elements. */
QUORRIN_API extern uint8_t gl_Tm_AcqID[6];       /**< Acquirer identifier (9F01) */
QUORRIN_API extern uint8_t gl_Tm_Cap_Ad[5];      /**< Additional terminal capabilities (9F40) */
QUORRIN_API extern uint8_t gl_Tm_AuthAmntB[4];   /**< Amount, authorised (binary) (81) */
QUORRIN_API extern uint8_t gl_Tm_AuthAmntN[6];   /**< Amount, authorised (numeric) (9F02) */
QUORRIN_API extern uint8_t gl_Tm_OtherAmntB[4];  /**< Amount, other (binary) (9F04) */
QUORRIN_API extern uint8_t gl_Tm_OtherAmntN[6];  /**< Amount, other (numeric) (9F03) */
QUORRIN_API extern uint8_t gl_Tm_RefCurAmnt[4];  /**< Amount, reference currency (9F3A) */
QUORRIN_API extern uint8_t gl_Tm_AID[16];        /**< Application identifier, terminal (9F06) */
QUORRIN_API extern uint8_t gl_Tm_AppVerNo[2];    /**< Application version number, terminal (9F09) */
QUORRIN_API extern uint8_t gl_Tm_AuthCode[6];    /**< Authorisation code (89) */
QUORRIN_API extern uint8_t gl_Tm_ARC[2];         /**< Authorisation response code (8A) */
QUORRIN_API extern uint8_t gl_Tm_CVMResult[3];   /**< CVM results (9F34) */
QUORRIN_API extern uint8_t gl_Tm_CAPKIndex[1];   /**< CA public key index, terminal (9F22) */
QUORRIN_API extern uint8_t gl_Tm_IFDSn[8];       /**< Interface device serial number (9F1E) */
QUORRIN_API extern uint8_t gl_Tm_IssAuthDt[16];  /**< Issuer authentication data (91) */
QUORRIN_API extern uint8_t gl_Tm_IssScrCmd[261]; /**< Issuer script command (86) */
QUORRIN_API extern uint8_t gl_Tm_IssScrID[4];    /**< Issuer script identifier (9F18) */
QUORRIN_API extern uint8_t gl_Tm_MchCatCode[2];  /**< Merchant category code (9F15) */
QUORRIN_API extern uint8_t gl_Tm_MchID[15];      /**< Merchant identifier (9F16) */
QUORRIN_API extern uint8_t gl_Tm_PosEntMode[1];  /**< POS entry mode (9F39) */
QUORRIN_API extern uint8_t gl_Tm_Cap[3];         /**< Terminal capabilities (9F33) */
QUORRIN_API extern uint8_t gl_Tm_CntryCode[2];   /**< Terminal country code (9F1A) */
QUORRIN_API extern uint8_t gl_Tm_FloorLmt[4];    /**< Terminal floor limit (9F1B) */
QUORRIN_API extern uint8_t gl_Tm_TermID[8];      /**< Terminal identification (9F1C) */
QUORRIN_API extern uint8_t gl_Tm_RMData[8];      /**< Terminal risk management data (9F1D) */
QUORRIN_API extern uint8_t gl_Tm_TermType[1];    /**< Terminal type (9F35) */
QUORRIN_API extern uint8_t gl_Tm_TVR[5];         /**< Terminal verification results (TVR) (95) */
QUORRIN_API extern uint8_t gl_Tm_TCHash[20];     /**< TC hash value (98) */
QUORRIN_API extern uint8_t gl_Tm_CurCode[2];     /**< Transaction currency code (5F2A) */
QUORRIN_API extern uint8_t gl_Tm_CurExp[1];      /**< Transaction currency exponent (5F36) */
QUORRIN_API extern uint8_t gl_Tm_TransDate[3];   /**< Transaction date (9A) */
QUORRIN_API extern uint8_t gl_Tm_PINData[256];   /**< Transaction PIN data (99) */
QUORRIN_API extern uint8_t gl_Tm_RefCurCode[2];  /**< Transaction reference currency code (9F3C) */
/** Transaction reference currency exponent (9F3D) */
QUORRIN_API extern uint8_t gl_Tm_RefCurExp[1];
QUORRIN_API extern uint8_t gl_Tm_TrSeqCntr[4]; /**< Transaction sequence counter (9F41) */
QUORRIN_API extern uint8_t gl_Tm_TSI[2];       /**< Transaction status information (TSI) (9B) */
QUORRIN_API extern uint8_t gl_Tm_TransTime[3]; /**< Transaction time (9F21) */
QUORRIN_API extern uint8_t gl_Tm_TransType[1]; /**< Transaction type (9C) */
QUORRIN_API extern uint8_t gl_Tm_UnPNum[4];    /**< Unpredictable number (9F37) */
/** Issuer script template 1 (71), shared with template 2 (72) */
QUORRIN_API extern uint8_t gl_Iss_Script[512];
QUORRIN_API extern uint8_t gl_Tm_MchNameLoc[256]; /**< Merchant name and location (9F4E) */
/** Electronic cash terminal support indicator (9F7A) */
QUORRIN_API extern uint8_t gl_Tm_VisaVLP[1];
QUORRIN_API extern uint8_t gl_Tm_TransCateCode[1]; /**< Transaction category code (9F53) */
QUORRIN_API extern uint8_t gl_Tm_AccountType[1];   /**< Account type (5F57) */
/** Electronic cash terminal transaction limit (9F7B) */
QUORRIN_API extern uint8_t gl_Tm_ECTranLmt[6];
QUORRIN_API extern uint8_t gl_Tm_ECTranPRT[4]; /**< Terminal transaction qualifiers (TTQ) (9F66) */
QUORRIN_API extern uint8_t gl_Tm_SuppGMAlg[1]; /**< SM algorithm support indicator (DF69) */

/* Storage of the card's elements. */
QUORRIN_API extern uint8_t gl_AC[8];            /**< Application cryptogram (9F26) */
QUORRIN_API extern uint8_t gl_AppCurCode[2];    /**< Application currency code (9F42) */
QUORRIN_API extern uint8_t gl_AppCurExp[1];     /**< Application currency exponent (9F44) */
QUORRIN_API extern uint8_t gl_AppDiscData[32];  /**< Application discretionary data (9F05) */
QUORRIN_API extern uint8_t gl_AppEffectDate[3]; /**< Application effective date (5F25) */
QUORRIN_API extern uint8_t gl_AppExpireDate[3]; /**< Application expiration date (5F24) */
QUORRIN_API extern uint8_t gl_AFL[252];         /**< Application file locator (AFL) (94) */
QUORRIN_API extern uint8_t gl_AID[16];          /**< Application identifier (ADF name) (4F) */
QUORRIN_API extern uint8_t gl_AIP[2];           /**< Application interchange profile (AIP) (82) */
QUORRIN_API extern uint8_t gl_AppLabel[16];     /**< Application label (50) */
QUORRIN_API extern uint8_t gl_APName[16];       /**< Application preferred name (9F12) */
QUORRIN_API extern uint8_t gl_PAN[10];          /**< Application PAN (5A) */
QUORRIN_API extern uint8_t gl_PANSn[1];         /**< Application PAN sequence number (5F34) */
QUORRIN_API extern uint8_t gl_APID[1];          /**< Application priority indicator (87) */
QUORRIN_API extern uint8_t gl_APCur[8];         /**< Application reference currency (9F3B) */
QUORRIN_API extern uint8_t gl_APCurExp[4];  /**< Application reference currency exponent (9F43) */
QUORRIN_API extern uint8_t gl_AppTemp[252]; /**< Application template (61) */
QUORRIN_API extern uint8_t gl_ATC[2];       /**< Application transaction counter (ATC) (9F36) */
QUORRIN_API extern uint8_t gl_AUC[2];       /**< Application usage control (9F07) */
QUORRIN_API extern uint8_t gl_AppVerNo[2];  /**< Application version number, card (9F08) */
QUORRIN_API extern uint8_t gl_CDOL1[252];   /**< CDOL1 (8C) */
QUORRIN_API extern uint8_t gl_CDOL2[252];   /**< CDOL2 (8D) */
QUORRIN_API extern uint8_t gl_HolderName[252];   /**< Cardholder name (5F20) */
QUORRIN_API extern uint8_t gl_HolderNameEx[252]; /**< Cardholder name, extended (9F0B) */
QUORRIN_API extern uint8_t gl_CVMList[252];      /**< CVM list (8E) */
QUORRIN_API extern uint8_t gl_CAPkIndex[1];      /**< CA public key index, card (8F) */
QUORRIN_API extern uint8_t gl_CID[1];            /**< Cryptogram information data (9F27) */
QUORRIN_API extern uint8_t gl_DtAuthCode[2];     /**< Data authentication code (9F45) */
QUORRIN_API extern uint8_t gl_DFName[16];        /**< Dedicated file name (84) */
QUORRIN_API extern uint8_t gl_DDFName[16];       /**< Directory definition file name (9D) */
QUORRIN_API extern uint8_t gl_DirDiscTemp[252];  /**< Directory discretionary template (73) */
QUORRIN_API extern uint8_t gl_DDOL[252];         /**< DDOL (9F49) */
QUORRIN_API extern uint8_t gl_FCIDiscData[240];  /**< FCI issuer discretionary data (BF0C) */
QUORRIN_API extern uint8_t gl_FCIPropTemp[256];  /**< FCI proprietary template (A5) */
QUORRIN_API extern uint8_t gl_FCITemp[252];      /**< FCI template (6F) */
QUORRIN_API extern uint8_t gl_IccDynNum[8];      /**< ICC dynamic number (9F4C) */
/** ICC PIN encipherment public key certificate (9F2D) */
QUORRIN_API extern uint8_t gl_PeCert[248];
QUORRIN_API extern uint8_t gl_PeExp[3];  /**< ICC PIN encipherment public key exponent (9F2E) */
QUORRIN_API extern uint8_t gl_PeRmd[42]; /**< ICC PIN encipherment public key remainder (9F2F) */
QUORRIN_API extern uint8_t gl_IccPkCert[248];     /**< ICC public key certificate (9F46) */
QUORRIN_API extern uint8_t gl_IccPkExp[3];        /**< ICC public key exponent (9F47) */
QUORRIN_API extern uint8_t gl_IccPkRmd[42];       /**< ICC public key remainder (9F48) */
QUORRIN_API extern uint8_t gl_IAC_Default[5];     /**< Issuer action code, default (9F0D) */
QUORRIN_API extern uint8_t gl_IAC_Denial[5];      /**< Issuer action code, denial (9F0E) */
QUORRIN_API extern uint8_t gl_IAC_Online[5];      /**< Issuer action code, online (9F0F) */
QUORRIN_API extern uint8_t gl_IssAppData[32];     /**< Issuer application data (9F10) */
QUORRIN_API extern uint8_t gl_IssCTIndex[1];      /**< Issuer code table index (9F11) */
QUORRIN_API extern uint8_t gl_IssCountryCode[2];  /**< Issuer country code (5F28) */
QUORRIN_API extern uint8_t gl_IssPkCert[248];     /**< Issuer public key certificate (90) */
QUORRIN_API extern uint8_t gl_IssPkExp[3];        /**< Issuer public key exponent (9F32) */
QUORRIN_API extern uint8_t gl_IssPkRmd[36];       /**< Issuer public key remainder (92) */
QUORRIN_API extern uint8_t gl_IssURL[256];        /**< Issuer URL (5F50) */
QUORRIN_API extern uint8_t gl_LangPref[8];        /**< Language preference (5F2D) */
QUORRIN_API extern uint8_t gl_LastATC[2];         /**< Last online ATC register (9F13) */
QUORRIN_API extern uint8_t gl_LCOL[1];            /**< Lower consecutive offline limit (9F14) */
QUORRIN_API extern uint8_t gl_PinTryCntr[1];      /**< PIN try counter (9F17) */
QUORRIN_API extern uint8_t gl_PDOL[256];          /**< PDOL (9F38) */
QUORRIN_API extern uint8_t gl_RMTF1[256];         /**< Response message template format 1 (80) */
QUORRIN_API extern uint8_t gl_RMTF2[256];         /**< Response message template format 2 (77) */
QUORRIN_API extern uint8_t gl_ServiceCode[2];     /**< Service code (5F30) */
QUORRIN_API extern uint8_t gl_SFI[1];             /**< Short file identifier (SFI) (88) */
QUORRIN_API extern uint8_t gl_SignDynAppDt[248];  /**< Signed dynamic application data (9F4B) */
QUORRIN_API extern uint8_t gl_SignStaAppDt[248];  /**< Signed static application data (93) */
QUORRIN_API extern uint8_t gl_SDATagList[256];    /**< Static data authentication tag list (9F4A) */
QUORRIN_API extern uint8_t gl_Track1Data[256];    /**< Track 1 discretionary data (9F1F) */
QUORRIN_API extern uint8_t gl_Track2Data[256];    /**< Track 2 discretionary data (9F20) */
QUORRIN_API extern uint8_t gl_Track2EquData[19];  /**< Track 2 equivalent data (57) */
QUORRIN_API extern uint8_t gl_TDOL[252];          /**< TDOL (97) */
QUORRIN_API extern uint8_t gl_UCOL[1];            /**< Upper consecutive offline limit (9F23) */
QUORRIN_API extern uint8_t gl_CardHolderCert[41]; /**< Cardholder ID number (9F61) */
QUORRIN_API extern uint8_t gl_CardHolderCertType[1]; /**< Cardholder ID type (9F62) */
QUORRIN_API extern uint8_t gl_LogEntry[2];           /**< Log entry, transaction log (9F4D) */
QUORRIN_API extern uint8_t gl_LogFormat[256];        /**< Log format (9F4F) */
QUORRIN_API extern uint8_t gl_IC_BIC[11];            /**< Bank identifier code (5F54) */
QUORRIN_API extern uint8_t gl_IC_IBAN[34]; /**< International bank account number (5F53) */
QUORRIN_API extern uint8_t gl_IC_IssCountryCode_A2[2]; /**< Issuer country code, alpha 2 (5F55) */
QUORRIN_API extern uint8_t gl_IC_ISSCOUNTRYCODE_A3[3]; /**< Issuer country code, alpha 3 (5F56) */
QUORRIN_API extern uint8_t gl_IC_IssIDNumber[3];       /**< Issuer identification number (42) */
QUORRIN_API extern uint8_t gl_IC_ECBalance[6];         /**< Electronic cash balance (9F79) */
QUORRIN_API extern uint8_t gl_IC_ECBalanceLmt[6];      /**< Electronic cash balance limit (9F77) */
/** Electronic cash issuer authorisation code (9F74) */
QUORRIN_API extern uint8_t gl_IC_ECIssAuthCode[6];
/** Electronic cash single transaction limit (9F78) */
QUORRIN_API extern uint8_t gl_IC_ECSigleLmt[6];
QUORRIN_API extern uint8_t gl_IC_ECResetThld[6]; /**< Electronic cash reset threshold (9F6D) */
QUORRIN_API extern uint8_t gl_IC_ECADA[4];       /**< Application default action (9F52) */
QUORRIN_API extern uint8_t gl_IC_ECVOS[6];       /**< Available offline spending amount (9F5D) */
QUORRIN_API extern uint8_t gl_IC_ECCAP[4];       /**< Card additional processes (9F68) */
QUORRIN_API extern uint8_t gl_IC_ECCCVMLT[6];    /**< Card CVM limit (9F6B) */
QUORRIN_API extern uint8_t gl_IC_ECCTQ[2];       /**< Card transaction qualifiers (CTQ) (9F6C) */
/** Application interchange profile, electronic cash (84) */
QUORRIN_API extern uint8_t gl_IC_ECAIP[2];
QUORRIN_API extern uint8_t gl_IC_ECLOATC[2];       /**< Last online ATC, electronic cash (9F13) */
QUORRIN_API extern uint8_t gl_IC_ECCAR[32];        /**< Card authentication related data (9F69) */
QUORRIN_API extern uint8_t gl_IC_ProductLable[16]; /**< Product identification (9F63) */
QUORRIN_API extern uint8_t gl_IC_ECMCHNUM[256];    /**< Merchant number, electronic cash (DF50) */
QUORRIN_API extern uint8_t gl_LogEntry_Load[2];    /**< Log entry, load log (DF4D) */

/* Working data that no table row describes. */

/** Length of the issuer scripts; kept for hosts. */
QUORRIN_API extern uint16_t gl_Iss_ScriptLen;
/** Answer of the first GENERATE AC; kept for hosts. */
QUORRIN_API extern uint8_t gl_GACOne[256];
/** Answer of the second GENERATE AC; kept for hosts. */
QUORRIN_API extern uint8_t gl_GACTwo[256];
/** Length of gl_GACOne. */
QUORRIN_API extern uint16_t gl_GACOneLen;
/** Length of gl_GACTwo. */
QUORRIN_API extern uint16_t gl_GACTwoLen;
/** Public key record of the card, in the host's own layout. */
QUORRIN_API extern uint8_t gl_tIccPk[512];
/** Public key record of the card for the SM algorithms, in the host's own layout. */
QUORRIN_API extern uint8_t gl_tIccPk_GM[512];
/** Public key record for PIN encipherment, in the host's own layout. */
QUORRIN_API extern uint8_t gl_tPinEnPk[512];
/** 1 when gl_tIccPk is set. */
QUORRIN_API extern uint8_t gl_FlgIccPk;
/** 1 when gl_tIccPk_GM is set. */
QUORRIN_API extern uint8_t gl_FlgIccPk_GM;
/** 1 when gl_tPinEnPk is set. */
QUORRIN_API extern uint8_t gl_FlgPinEnPk;
/** Command data of GET PROCESSING OPTIONS, built from the PDOL. */
QUORRIN_API extern uint8_t gl_GPOPdolData[256];
/** Command data of the first GENERATE AC, built from CDOL1. */
QUORRIN_API extern uint8_t gl_GACCdolOne[256];
/** Command data of the second GENERATE AC, built from CDOL2. */
QUORRIN_API extern uint8_t gl_GACCdolTwo[256];
/** Length of gl_GPOPdolData. */
QUORRIN_API extern uint16_t gl_LenGPOPdolData;
/** Length of gl_GACCdolOne. */
QUORRIN_API extern uint16_t gl_LenGACCdolOne;
/** Length of gl_GACCdolTwo. */
QUORRIN_API extern uint16_t gl_LenGACCdolTwo;
/** Issuer script results: up to 12 entries of 5 bytes (EMV book 4, A5). */
QUORRIN_API extern uint8_t gl_Iss_ScriptRslt[60];
/** Number of issuer script results. */
QUORRIN_API extern uint8_t gl_Iss_NumScriptRslt;
/** The terminal's default DDOL. */
QUORRIN_API extern uint8_t gl_Tm_DDOL[252];
/** The terminal's default TDOL. */
QUORRIN_API extern uint8_t gl_Tm_TDOL[252];
/** Length of gl_Tm_DDOL. */
QUORRIN_API extern uint8_t gl_Tm_LenDDOL;
/** Length of gl_Tm_TDOL. */
QUORRIN_API extern uint8_t gl_Tm_LenTDOL;
/** Terminal action code, denial. */
QUORRIN_API extern uint8_t gl_TAC_Denial[5];
/** Terminal action code, online. */
QUORRIN_API extern uint8_t gl_TAC_Online[5];
/** Terminal action code, default. */
QUORRIN_API extern uint8_t gl_TAC_Default[5];
/** 1 when the host has set gl_TAC_Denial. */
QUORRIN_API extern uint8_t gl_FgTAC_Denial;
/** 1 when the host has set gl_TAC_Online. */
QUORRIN_API extern uint8_t gl_FgTAC_Online;
/** 1 when the host has set gl_TAC_Default. */
QUORRIN_API extern uint8_t gl_FgTAC_Default;
/** Threshold of random transaction selection (EMV book 3, 10.6.2). */
QUORRIN_API extern int64_t gl_lRandSltLmt;
/** Target percentage of random transaction selection (EMV book 3, 10.6.2). */
QUORRIN_API extern int64_t gl_lRandSltPcnt;
/** Maximum target percentage of biased random selection (EMV book 3, 10.6.2). */
QUORRIN_API extern int64_t gl_lBiRSltPcnt;
/** Risk management flag. Starts as 1. */
QUORRIN_API extern uint8_t gl_Tm_RmCheckFlg;
/** Reference currency conversion. */
QUORRIN_API extern uint32_t gl_Tm_RefCurConv;
/** Cashback flag. */
QUORRIN_API extern uint8_t gl_Tm_CashBackFlg;
/** Type of application cryptogram asked for. */
QUORRIN_API extern uint8_t gl_Tm_ACType;
/** Random number kept for the host. */
QUORRIN_API extern uint16_t gl_RandNum;
/** 1 when gl_RandNum is set. */
QUORRIN_API extern uint8_t gl_RandNum_Flag;
/** Card ATC error flag. */
QUORRIN_API extern uint8_t gl_ATC_Err;
/** Kernel options; not used by the library. */
QUORRIN_API extern uint8_t gl_KernOption[256];

#ifdef __cplusplus
}
#endif

#endif

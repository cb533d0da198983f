// Every plain function by its type.
#include <tavlib/tavlib.h>

#include "packaging/operation_types.h"

namespace tavtest {
namespace {

TEST(FunctionTypes, Lifecycle) {
  has<int (*)()>(&TAVInitialize);
  has<void (*)()>(&TAVExit);
  has<void (*)()>(&TAVThreadExit);
  has<unsigned (*)()>(&TAVGetLastError);
  has<void (*)(unsigned)>(&TAVSetLastError);
  has<int (*)(unsigned)>(&TAVSetTimeout);
}

TEST(FunctionTypes, Queries) {
  has<int (*)(unsigned long, unsigned*, TAVASYNC*)>(&TAVQueryVersionAs);
  has<int (*)(unsigned long, unsigned*)>(&TAVQueryVersion);
  has<int (*)(unsigned, unsigned long*)>(&TAVEnumServers);
  has<int (*)(unsigned long)>(&TAVGetSocket);
  has<int (*)(const _TAVENTRYW*, unsigned, unsigned, unsigned long, unsigned, TAVQueryEnum**)>(
      &TAVQueryStartW);
  has<int (*)(const _TAVENTRYA*, unsigned, unsigned, unsigned long, unsigned, TAVQueryEnum**)>(
      &TAVQueryStartA);
  has<int (*)(TAVQueryEnum*, _TAVENTRYW*, TAVASYNC*)>(&TAVQueryNextAsW);
  has<int (*)(TAVQueryEnum*, _TAVENTRYW*)>(&TAVQueryNextW);
  has<int (*)(TAVQueryEnum*, _TAVENTRYA*, TAVASYNC*)>(&TAVQueryNextAsA);
  has<int (*)(TAVQueryEnum*, _TAVENTRYA*)>(&TAVQueryNextA);
  has<void (*)(TAVQueryEnum*)>(&TAVQueryClose);
  has<int (*)(const _TAVENTRYA*)>(&TAVAddEntryA);
  has<int (*)(const _TAVENTRYW*)>(&TAVAddEntryW);
}

TEST(FunctionTypes, AsynchronousHandles) {
  has<int (*)(TAVASYNC*)>(&TAVASyncSocket);
  has<int (*)(TAVASYNC**, unsigned long)>(&TAVASyncPop);
  has<int (*)(TAVASYNC*, int)>(&TAVASyncStatus);
  has<int (*)(TAVASYNC*)>(&TAVASyncAbandon);
}

TEST(FunctionTypes, SingleSignOn) {
  has<const char* (*)()>(&SSO_Init);
  has<void (*)()>(&SSO_Exit);
  has<unsigned (*)()>(&SSO_GetLastError);
  has<int (*)(unsigned long, char*, unsigned, char*, unsigned)>(&SSO_GetUserByAddr);
  has<void (*)(unsigned long, char*, unsigned, char*, unsigned, void (*)(int, void*), void*)>(
      &SSO_GetUserByAddrAsync);
  has<unsigned (*)(unsigned)>(&SSO_ExpireLookups);
}

TEST(FunctionTypes, Records) {
  has<int (*)(const _TAVENTRYA*, _TAVPACKET*, unsigned*, unsigned)>(&MarshalTAVEntryA);
  has<int (*)(const _TAVENTRYW*, _TAVPACKET*, unsigned*, unsigned)>(&MarshalTAVEntryW);
  has<int (*)(_TAVENTRYA&, const _TAVPACKET*, unsigned)>(&DeMarshalTAVEntryA);
  has<int (*)(_TAVENTRYW&, const _TAVPACKET*, unsigned)>(&DeMarshalTAVEntryW);
  has<int (*)(_TAVENTRYA&, const _TAVENTRYA&)>(&TAVEntryDupA);
  has<int (*)(_TAVENTRYW&, const _TAVENTRYW&)>(&TAVEntryDupW);
  has<int (*)(const _TAVENTRYA&, const _TAVENTRYA&, unsigned)>(&TAVEntryCompareA);
  has<int (*)(const _TAVENTRYW&, const _TAVENTRYW&, unsigned)>(&TAVEntryCompareW);
  has<int (*)(_TAVENTRYW&, const _TAVENTRYA&)>(&EntryAToW);
  has<int (*)(_TAVENTRYA&, const _TAVENTRYW&)>(&EntryWToA);
  has<void (*)(_TAVENTRYA&)>(&DeMarshalFreeStrings);
  has<void (*)(_TAVENTRYW&)>(&DeMarshalFreeStrings);
}

TEST(FunctionTypes, PacketsAndDigests) {
  has<int (*)(_TAVPACKET*, const unsigned char*)>(&MakeMd5Sum);
  has<int (*)(_TAVPACKET*, const unsigned char*)>(&VerifyMd5Sum);
  has<unsigned (*)(_TAVPACKET*, unsigned, const unsigned char*, CBlowfish*)>(&DeBlowPacket);
  has<int (*)(unsigned char*, const void*, unsigned)>(&MakeDigest);
  has<int (*)(const unsigned char*, const unsigned char*)>(&CompareDigests);
  has<int (*)(unsigned char*, const char*)>(&HexToDigest);
  has<int (*)(const unsigned char*)>(&DigestToHex);
}

TEST(FunctionTypes, RegistryFiles) {
  has<ARegistryKey* (*)(const char*)>(&ARegKeyFile);
  has<int (*)(ARegistryKey*)>(&ARegKeyFileClose);
}

TEST(FunctionTypes, Platform) {
  has<long (*)(long*)>(&InterlockedIncrement);
  has<long (*)(long*)>(&InterlockedDecrement);
  has<long (*)(long*, long)>(&InterlockedExchange);
  has<long (*)(long*, long, long)>(&InterlockedCompareExchange);
  has<long (*)(long*, long)>(&InterlockedExchangeAdd);
  has<unsigned long (*)()>(&GetTickCount);
  has<wchar_t* (*)(const wchar_t*)>(&wcsdup);
  has<unsigned (*)()>(&GetOsError);
  has<unsigned (*)()>(&GetRtlError);
  has<void (*)(unsigned)>(&SetOsError);
  has<void (*)(unsigned)>(&SetRtlError);
  has<unsigned (*)(unsigned, char*, unsigned)>(&GetOsErrorString);
  has<unsigned (*)(unsigned, char*, unsigned)>(&GetRtlErrorString);
  has<unsigned (*)(unsigned)>(&OsToRtlError);
}

}  // namespace
}  // namespace tavtest

// Every operation of every class by its type.
#include <tavlib/tavlib.h>

#include <cstdio>
#include <string>
#include <type_traits>

#include "packaging/operation_types.h"

namespace tavtest {
namespace {

using Request = ServerInterface::ASyncRequest;

// What a class of the host's own overrides is virtual, and the original can be called.
struct HostsServer : ServerInterface {
  using ServerInterface::ServerInterface;
  int IsValid() override { return ServerInterface::IsValid(); }
};

struct HostsList : TAVServerList {
  int IsValid() override { return TAVServerList::IsValid(); }
};

TEST(ClassTypes, Cipher) {
  static_assert(!std::is_polymorphic_v<CBlowfish>);
  has_constructor<CBlowfish, const char*, int>();
  has_constructor<CBlowfish, unsigned char*, int>();
  has<void (CBlowfish::*)()>(&CBlowfish::init);
  has<unsigned (CBlowfish::*)(long)>(&CBlowfish::F);
  has<void (CBlowfish::*)(long*, long*)>(&CBlowfish::encipher);
  has<void (CBlowfish::*)(long*, long*)>(&CBlowfish::decipher);
  has<void (CBlowfish::*)(unsigned char*, unsigned char*)>(&CBlowfish::encrypt);
  has<void (CBlowfish::*)(unsigned char*, unsigned char*)>(&CBlowfish::decrypt);
  has<int (CBlowfish::*)(const unsigned char*, unsigned, unsigned char*, unsigned)>(
      &CBlowfish::encryptString);
  has<int (CBlowfish::*)(const unsigned char*, unsigned, unsigned char*, unsigned)>(
      &CBlowfish::decryptString);
  has<unsigned (CBlowfish::*)(unsigned)>(&CBlowfish::getRequiredCipherLength);
  has<unsigned (CBlowfish::*)(unsigned)>(&CBlowfish::getMaxDecipheredLength);
}

TEST(ClassTypes, Transport) {
  static_assert(std::has_virtual_destructor_v<ServerInterface>);
  static_assert(std::is_same_v<decltype(Request::completion), unsigned (*)(ServerInterface*, Request*)>);
  has_constructor<ServerInterface, unsigned long, unsigned short, const char*>();
  has_constructor<HostsServer, unsigned long, unsigned short, const char*>();
  has<int (ServerInterface::*)()>(&ServerInterface::IsValid);
  has<unsigned (ServerInterface::*)(Request*)>(&ServerInterface::StartRequest);
  has<Request* (ServerInterface::*)()>(&ServerInterface::CompleteRequest);
  has<unsigned (ServerInterface::*)(Request*)>(&ServerInterface::AbandonRequest);
  has<unsigned (ServerInterface::*)(_TAVPACKET*, unsigned, unsigned)>(&ServerInterface::TransactServer);
  has<unsigned (ServerInterface::*)(const Request*)>(&ServerInterface::StatusRequest);
  has<int (ServerInterface::*)()>(&ServerInterface::GetSocket);
  has<unsigned long (ServerInterface::*)()>(&ServerInterface::GetAddress);
}

TEST(ClassTypes, Server) {
  static_assert(std::is_base_of_v<ServerInterface, TAVServerInterface>);
  static_assert(std::is_convertible_v<TAVServerInterface*, ServerInterface*>);
  static_assert(std::is_same_v<decltype(&TAVServerInterface::IsValid), int (ServerInterface::*)()>);
  has_constructor<TAVServerInterface, unsigned long, unsigned short, const char*, int>();
  has<unsigned (TAVServerInterface::*)(unsigned&, Request*)>(&TAVServerInterface::QueryVersion);
  has<unsigned (*)(TAVServerInterface*, Request*)>(&TAVServerInterface::QueryVersionComplete);
  has<unsigned (TAVServerInterface::*)(const _TAVENTRYA&)>(&TAVServerInterface::AddEntry);
  has<unsigned (TAVServerInterface::*)(const _TAVENTRYW&)>(&TAVServerInterface::AddEntry);
  has<unsigned (TAVServerInterface::*)(unsigned, unsigned, unsigned, const _TAVENTRYW&, Request*)>(
      &TAVServerInterface::QueryEntry);
  has<unsigned (*)(TAVServerInterface*, Request*)>(&TAVServerInterface::QueryComplete);
  has<unsigned (TAVServerInterface::*)(unsigned short)>(&TAVServerInterface::Listen);
  has<unsigned (TAVServerInterface::*)()>(&TAVServerInterface::ListenStop);
  has<void (TAVServerInterface::*)()>(&TAVServerInterface::SetCommDown);
  has<void (TAVServerInterface::*)()>(&TAVServerInterface::SetCommUp);
  has<int (TAVServerInterface::*)()>(&TAVServerInterface::IsCommUp);
  has<int (TAVServerInterface::*)()>(&TAVServerInterface::IsLocal);
  has<const char* (TAVServerInterface::*)()>(&TAVServerInterface::GetSecret);
}

TEST(ClassTypes, Enumeration) {
  static_assert(std::has_virtual_destructor_v<TAVQueryEnum>);
  has_constructor<TAVQueryEnum, unsigned long, const _TAVENTRYW&, unsigned, unsigned, unsigned,
                  TAVServerList*>();
  has<unsigned (TAVQueryEnum::*)(_TAVENTRYW&, Request*)>(&TAVQueryEnum::QueryNext);
  has<unsigned (TAVQueryEnum::*)(_TAVENTRYA&, Request*)>(&TAVQueryEnum::QueryNext);
  has<unsigned (TAVQueryEnum::*)(Request*)>(&TAVQueryEnum::QueryComplete);
  has<unsigned (TAVQueryEnum::*)(Request*)>(&TAVQueryEnum::QueryCompleteW);
  has<unsigned (TAVQueryEnum::*)(Request*)>(&TAVQueryEnum::QueryCompleteA);
  has<int (TAVQueryEnum::*)()>(&TAVQueryEnum::IsValid);
}

TEST(ClassTypes, ServerList) {
  static_assert(std::has_virtual_destructor_v<TAVServerList>);
  has_constructor<TAVServerList>();
  has_constructor<HostsList>();
  has<int (TAVServerList::*)()>(&TAVServerList::IsValid);
  has<unsigned long (TAVServerList::*)(unsigned)>(&TAVServerList::GetServer);
  has<int (TAVServerList::*)(unsigned long)>(&TAVServerList::GetSocket);
  has<TAVServerInterface* (TAVServerList::*)(int)>(&TAVServerList::FindBySocket);
  has<TAVServerInterface* (TAVServerList::*)(unsigned long)>(&TAVServerList::FindByServer);
  has<unsigned (TAVServerList::*)(unsigned long, unsigned&, Request*)>(&TAVServerList::QueryVersion);
  has<const char* (TAVServerList::*)(unsigned long)>(&TAVServerList::GetSecret);
  has<int (TAVServerList::*)(unsigned short, unsigned long)>(&TAVServerList::Listen);
  has<int (TAVServerList::*)(unsigned long)>(&TAVServerList::ListenStop);
  has<void (TAVServerList::*)()>(&TAVServerList::SetAllCommsUp);
  has<unsigned (TAVServerList::*)(unsigned, unsigned, _TAVENTRYW&, unsigned, unsigned long, Request*)>(
      &TAVServerList::QueryEntry);
  has<int (TAVServerList::*)(const _TAVENTRYA&, unsigned long)>(&TAVServerList::AddEntry);
  has<int (TAVServerList::*)(const _TAVENTRYW&, unsigned long)>(&TAVServerList::AddEntry);
  has<unsigned (TAVServerList::*)(const _TAVENTRYA&, TAVServerInterface*)>(&TAVServerList::AddEntryUsing);
  has<unsigned (TAVServerList::*)(const _TAVENTRYW&, TAVServerInterface*)>(&TAVServerList::AddEntryUsing);
}

TEST(ClassTypes, SingleSignOn) {
  using Callback = void (*)(int, void*);
  has_constructor<SSO_TAVContext, unsigned long, char*, unsigned, char*, unsigned, Callback, void*>();
  has_constructor<SSO_TAVContext, const SSO_TAVContext&>();
  has<void (SSO_TAVContext::*)()>(&SSO_TAVContext::Go);
  has<int (SSO_TAVContext::*)(int, unsigned)>(&SSO_TAVContext::Finish);
  has_constructor<tavexception, unsigned>();
}

TEST(ClassTypes, RegistryFacade) {
  static_assert(std::has_virtual_destructor_v<Registry>);
  has_constructor<Registry, ARegistryKey*>();
  has<int (Registry::*)(const char*, unsigned)>(&Registry::Open);
  has<int (Registry::*)(const std::string&, unsigned)>(&Registry::Open);
  has<int (Registry::*)(const char*, unsigned)>(&Registry::Create);
  has<void (Registry::*)()>(&Registry::Close);
  has<int (Registry::*)(const char*, unsigned&)>(&Registry::QueryValue);
  has<int (Registry::*)(const char*, std::string&)>(&Registry::QueryValue);
  has<int (Registry::*)(const char*, const std::string&)>(&Registry::SetValue);
  has<int (Registry::*)(unsigned, std::string&)>(&Registry::EnumKey);
  has<int (Registry::*)(const char*)>(&Registry::DeleteKey);
  has<int (Registry::*)(const char*)>(&Registry::DeleteValue);
  has<ARegistryKey* (Registry::*)() const>(&Registry::GetKey);
}

TEST(ClassTypes, RegistryHandle) {
  static_assert(std::has_virtual_destructor_v<ARegistry>);
  has_constructor<ARegistry>();
  has<int (ARegistry::*)(ARegistryKey*, const char*, int, unsigned*, unsigned)>(&ARegistry::Open);
  has<int (ARegistry::*)()>(&ARegistry::Close);
  has<int (ARegistry::*)(unsigned, char*, unsigned*)>(&ARegistry::EnumKey);
  has<int (ARegistry::*)(unsigned, char*, unsigned*)>(&ARegistry::EnumValue);
  has<int (ARegistry::*)(const char*, unsigned*, unsigned*, unsigned char*)>(&ARegistry::QueryValue);
  has<int (ARegistry::*)(const char*, unsigned, unsigned, const unsigned char*)>(&ARegistry::SetValue);
  has<int (ARegistry::*)(const char*)>(&ARegistry::DeleteValue);
  has<int (ARegistry::*)(const char*)>(&ARegistry::DeleteKey);
  has<ARegistryKey* (ARegistry::*)() const>(&ARegistry::GetKey);
}

TEST(ClassTypes, RegistryKey) {
  has_constructor<ARegistryKey, const char*>();
  has_constructor<ARegistryKey, const ARegistryKey&>();
  has<int (ARegistryKey::*)(const char*, int, unsigned, int*)>(&ARegistryKey::LoadKey);
  has<int (ARegistryKey::*)(unsigned, char*, unsigned*)>(&ARegistryKey::EnumKey);
  has<int (ARegistryKey::*)(const char*, unsigned*, unsigned*, unsigned char*)>(&ARegistryKey::FindValue);
  has<int (ARegistryKey::*)(unsigned, char*, unsigned*)>(&ARegistryKey::EnumValue);
  has<int (ARegistryKey::*)(const char*, unsigned, unsigned, const unsigned char*)>(&ARegistryKey::SetValue);
  has<int (ARegistryKey::*)(const char*)>(&ARegistryKey::DeleteValue);
  has<int (ARegistryKey::*)(const char*)>(&ARegistryKey::DeleteKey);
  has<int (ARegistryKey::*)(const char*)>(&ARegistryKey::Commit);
  static_assert(REGISTRY_ACCESS_WRITE == 2);
}

TEST(ClassTypes, RegistryValues) {
  using Entry = ARegistryData::Entry;
  has_constructor<ARegistryData>();
  has<int (ARegistryData::*)(Entry&)>(&ARegistryData::EnterData);
  has<int (ARegistryData::*)(const char*, const char*)>(&ARegistryData::EnterData);
  has<int (*)(Entry&, const char*)>(&ARegistryData::ParseREG_SZ);
  has<int (*)(Entry&, const char*)>(&ARegistryData::ParseREG_MULTI_SZ);
  has<int (*)(Entry&, const char*)>(&ARegistryData::ParseREG_DWORD);
  has<int (*)(Entry&, const char*)>(&ARegistryData::ParseREG_BINARY);
  has<Entry* (ARegistryData::*)(const char*)>(&ARegistryData::GetData);
  has<Entry* (ARegistryData::*)(unsigned)>(&ARegistryData::EnumData);
  has<int (ARegistryData::*)(const char*)>(&ARegistryData::DeleteData);
  has<int (ARegistryData::*)(std::FILE*)>(&ARegistryData::WriteData);
  static_assert(REG_SZ == 1 && REG_BINARY == 3 && REG_DWORD == 4 && REG_MULTI_SZ == 7);
}

TEST(ClassTypes, RegistryKeyList) {
  has_constructor<ARegistryKeyList>();
  has<int (ARegistryKeyList::*)(const char*)>(&ARegistryKeyList::Enter);
  has<const char* (ARegistryKeyList::*)(unsigned)>(&ARegistryKeyList::Enum);
  has<int (ARegistryKeyList::*)(const char*)>(&ARegistryKeyList::Delete);
  has<int (ARegistryKeyList::*)()>(&ARegistryKeyList::Sort);
  has<int (*)(const void*, const void*)>(&ARegistryKeyList::KeySortCompare);
}

TEST(ClassTypes, FileLock) {
  static_assert(std::is_enum_v<AFileLocker::FILELOCKER>);
  has_constructor<AFileLocker, int, AFileLocker::FILELOCKER>();
  has<int (AFileLocker::*)(AFileLocker::FILELOCKER)>(&AFileLocker::DoLock);
  has<int (AFileLocker::*)()>(&AFileLocker::IsValid);
}

TEST(ClassTypes, ErrorState) {
  static_assert(std::is_empty_v<AErrors>);
  has_constructor<AErrors>();
  has<unsigned (*)()>(&AErrors::GetOsError);
  has<unsigned (*)()>(&AErrors::GetRtlError);
  has<void (*)(unsigned)>(&AErrors::SetOsError);
  has<void (*)(unsigned)>(&AErrors::SetRtlError);
  has<unsigned (*)(unsigned, char*, unsigned)>(&AErrors::GetOsErrorString);
  has<unsigned (*)(unsigned, char*, unsigned)>(&AErrors::GetRtlErrorString);
  has<unsigned (*)(unsigned)>(&AErrors::OsToRtlError);
}

TEST(ClassTypes, ThreadLocalSlot) {
  static_assert(std::has_virtual_destructor_v<ATls>);
  has_constructor<ATls>();
  has_constructor<ATls, void (*)(void*)>();
  has<int (ATls::*)(void*)>(&ATls::SetValue);
  has<void* (ATls::*)()>(&ATls::GetValue);
  has_constructor<ATlsException, unsigned>();
}

TEST(ClassTypes, CriticalSection) {
  static_assert(!std::is_polymorphic_v<ACritSec>);
  has_constructor<ACritSec>();
  has<int (ACritSec::*)(int)>(&ACritSec::DoLock);
  has<void (ACritSec::*)()>(&ACritSec::Unlock);
}

TEST(ClassTypes, Directory) {
  static_assert(std::has_virtual_destructor_v<ADirectory>);
  has_constructor<ADirectory>();
  has_constructor<ADirectory, const char*, const char*>();
  has<int (ADirectory::*)(const char*, const char*)>(&ADirectory::Open);
  has<int (ADirectory::*)()>(&ADirectory::Close);
  has<int (ADirectory::*)(char*)>(&ADirectory::GetNext);
  has<void (ADirectory::*)(char*, const char*)>(&ADirectory::GetFull);
  has<int (ADirectory::*)()>(&ADirectory::IsValid);
  has_constructor<WtoAException, unsigned>();
}

}  // namespace
}  // namespace tavtest

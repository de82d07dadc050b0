#pragma once
// An sfArk 2 archive, and its header's checksum made right for archives that were changed.

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "base/endian.h"
#include "formats/codec/sfark_decoder.h"

namespace tervo::test {

/// Made by tests/interop/sfark_packer.py; the archiver's own library unpacks it. Method "max": all of linear
/// prediction, differences and code.
inline std::vector<std::byte> sfArkArchive() {
  constexpr std::string_view hex =
      "00000000cc04000017030000913a57494e0943ca1420322e3130736641726b07000072000000bc03000062616e6b2e73663200006f00"
      "009c78f20b7374c23bc0c29c509496e3ed1c19c5e2c0c0e9e0e6e7999f9996140360666062c864ce2ce74bb2007d5d2d430c0c800c8e"
      "f26cbe7e406649255e75505bb0088817905a92965410af525c929aaf996650a468c96700c03132198c7a68494a7162416e178e0d90ee"
      "001ab808e69b2616b577072aafa144b0ae09add758be95b850303bbaa07908dc2bceb317a9ddfd508d4356d4b2c2c1519a20f3e71d89"
      "db92804cab88a86970908473ebe792d81153d9806789d2e4c096a356be91a3b726834130140ae68bb9a6c562be01739fb689c1f80e1c"
      "9d824de57f779ac5bf76b448445958377a1819c9e8d11d465341fc9105b97627b27912f45f4424212e1e9af7779954b1a9cfa0241968"
      "0ac5508ea5b2bd135583e98cd3cb10210ccb4d7e25712d964b00ae8cdf630cf353a1ee1a272286a5d3402514804b96b04926d5ecc1f1"
      "8827745126f93e5bb3b5fbeee800aa966c6929ce604569b53ea3ab946c5222cd3751ff1a5050128d5135639777eca4ea0d80e4e41c0f"
      "11d8face71a0719f29e40a2a3f5e1c328e5dc5f26c214bdd6677ee570e30e334d49a16fb3f5a7381a4611cbb27db75786fe8ceb5661b"
      "3c4a3596eb8ae04468d2fdd0a689b429c2a1efa936e7fa934f1819121d8f0f221197e6c9f688b44799711d72692343415146f27d9bc7"
      "a39d4d0b45d77805cfc639bbd56ef4936620a86de375f282820222d5277cd9fa08525b3ad4da9a8a5b55a89bff10f881555528a88588"
      "4967c8a88a8c8fa708688e90997b6828908c6d4f2828848a36e279929a0da75971b28414e7678030548443e83aa611f9641269794d73"
      "a1f6d2596b9cd6777b67d75f5f7f37970fc62f8ef775c67a354a46c02c0000130f7e9e81212cdc8c0c09052905992505094c2a0c6c1e"
      "0eeca1010452815a422c6b9b1d829fca853e9b879a0d93cb8c31ce1b23890b9ce584cc32532c71c42947d2a838f81e1da05932899785"
      "4d4cc596e8b60023a3900d84061a7a04cc804f6060fe14ff2200000000000000000000";
  std::vector<std::byte> bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2)
    bytes.push_back(static_cast<std::byte>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  return bytes;
}

/// Its checksum is that of the header with the name behind it, with zeros for itself.
inline void correctSfArkHeader(std::span<std::byte> bytes) {
  constexpr std::size_t checkAt = 16, nameAt = 42;
  if (bytes.size() <= nameAt) return;
  const auto end = std::find(bytes.begin() + nameAt, bytes.end(), std::byte{0});
  if (end == bytes.end()) return;
  std::fill_n(bytes.begin() + checkAt, 4, std::byte{0});
  const LittleU32 check = sfArkCheck(0, bytes.first(static_cast<std::size_t>(end - bytes.begin()) + 1));
  std::memcpy(bytes.data() + checkAt, &check, sizeof check);
}

}  // namespace tervo::test

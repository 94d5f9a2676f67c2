// Loaded by the very function that the transfers' TLS loads them with, so that what it refuses is
// refused here.
#include <openssl/err.h>
#include <openssl/x509_vfy.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <memory>
#include <new>

#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/product.h"
#include "tools/tolvar/doctor/text.h"

namespace doctor {
namespace {

constexpr char cure[] = "put the cloud's CA certificates there as PEM, before the host starts";

struct StoreDelete {
  void operator()(X509_STORE* store) const noexcept { X509_STORE_free(store); }
};
using Store = std::unique_ptr<X509_STORE, StoreDelete>;

struct Dates {
  unsigned count = 0;
  unsigned over = 0;
  unsigned notYet = 0;
  std::int64_t firstEndSec = std::numeric_limits<std::int64_t>::max();  // of those that are valid
};

// Seconds since the epoch; by way of the calendar, since the library may count in 32 bits.
std::int64_t SecondsOf(const ASN1_TIME* time) {
  struct tm parts = {};
  return ASN1_TIME_to_tm(time, &parts) == 1 ? timegm(&parts) : 0;
}

void Count(const X509& certificate, std::int64_t nowSec, Dates& dates) {
  const std::int64_t endSec = SecondsOf(X509_get0_notAfter(&certificate));
  ++dates.count;
  if (endSec < nowSec) {
    ++dates.over;
  } else if (SecondsOf(X509_get0_notBefore(&certificate)) > nowSec) {
    ++dates.notYet;
  } else {
    dates.firstEndSec = std::min(dates.firstEndSec, endSec);
  }
}

Dates Look(const X509_STORE& store, std::int64_t nowSec) {
  Dates dates;
  STACK_OF(X509_OBJECT)* objects = X509_STORE_get0_objects(&store);
  for (int i = 0; i < sk_X509_OBJECT_num(objects); ++i) {
    const X509* certificate = X509_OBJECT_get0_X509(sk_X509_OBJECT_value(objects, i));
    if (certificate != nullptr) Count(*certificate, nowSec, dates);
  }
  return dates;
}

Finding Judge(const Dates& dates, std::int64_t nowSec) {
  constexpr std::int64_t monthSec = std::int64_t{30} * 86400;
  const std::string count = std::to_string(dates.count);
  const std::string outside = std::to_string(dates.over) + " over and " +
                              std::to_string(dates.notYet) + " not yet begun on " + Day(nowSec);
  if (dates.over + dates.notYet == dates.count) {
    return Bad("of " + count + " certificates none is valid: " + outside,
               "set the clock, or replace the certificates");
  }
  if (dates.over + dates.notYet > 0) {
    return Warning("of " + count + " certificates some are not valid: " + outside,
                   "check the clock; replace them if the cloud uses them");
  }
  const std::string found = count + " valid, the first until " + Day(dates.firstEndSec);
  if (dates.firstEndSec - nowSec > monthSec) return Ok(found);
  return Warning(found, "replace it in time");
}

std::string LoadFailure() {
  const char* reason = ERR_reason_error_string(ERR_peek_last_error());
  return reason != nullptr ? reason : "no certificate in it";
}

}  // namespace

Finding CheckCertificates(const Options& /*options*/) {
  const std::string path = caBundlePath;
  if (!FileExists(path)) {
    return Bad(path + " is not there: every transfer fails (curl's code 77)", cure);
  }
  const Store store(X509_STORE_new());
  if (!store) throw std::bad_alloc();
  if (X509_STORE_load_locations(store.get(), path.c_str(), nullptr) != 1) {
    return Bad(path + " cannot be loaded: " + LoadFailure() + " (curl's code 77)", cure);
  }
  const std::int64_t nowSec = NowSeconds();
  const Dates dates = Look(*store, nowSec);
  if (dates.count == 0) return Bad(path + " holds no certificate", cure);
  return Judge(dates, nowSec);
}

}  // namespace doctor

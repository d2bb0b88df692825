#include "tests/support/TestCertificate.h"

#include <fstream>
#include <stdexcept>

#include "tests/support/ChildProcess.h"

namespace vellora::tests {

TestCertificate::TestCertificate(const std::string& subject, Valid valid) {
  // The plain way to make one cannot date it back; `openssl ca` can, but wants the files of an authority.
  const auto date = [&](int year) {
    return std::to_string(valid == Valid::now ? year : year - 20) + "0101000000Z";
  };
  std::ofstream(folder_.file("index")).flush();
  std::ofstream(folder_.file("serial")) << "01\n";
  std::ofstream(folder_.file("config"))
      << "[ca]\ndefault_ca=own\n[own]\ndatabase=" << folder_.file("index")
      << "\nserial=" << folder_.file("serial") << "\nnew_certs_dir=" << folder_.path().string()
      << "\ndefault_md=sha256\npolicy=any\ncopy_extensions=copy\n"
      << "[any]\ncommonName=supplied\n";
  const std::string script =
      "openssl req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout \"$1\" -out \"$3/request\""
      " -subj /CN=test -addext \"subjectAltName=$4\" -addext basicConstraints=CA:TRUE &&"
      " openssl ca -batch -selfsign -config \"$3/config\" -keyfile \"$1\" -in \"$3/request\" -out \"$2\""
      " -startdate $5 -enddate $6 -notext";
  const auto ended = ChildProcess::run(
      "/bin/sh",
      {"-c", script, "sh", keyFile(), file(), folder_.path().string(), subject, date(2020), date(2040)}, {});
  if (ended.exitCode != 0) throw std::runtime_error("openssl made no certificate: " + ended.err);
}

}  // namespace vellora::tests

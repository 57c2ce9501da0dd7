#include <cstdio>

#include <ykstd/ykstd.hxx>

int main() {
  try {
    ykstd_fail_OutOfRange::Raise("consumer");
  } catch (Hnd_ykstd_fail_DomainError& failure) {
    std::printf("%s\n", failure->Message().Text());
    failure->Remove();
    return 0;
  }
  return 1;
}

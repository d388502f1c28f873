#include "tests/node/kernel/program_run.h"

#include <bpf/bpf.h>
#include <linux/bpf.h>
#include <system_error>

namespace ia::node::test {

ProgramRun run_program(const Filter &filter, Hook hook, int device, const Bytes &frame) {
    ProgramRun done;
    done.frame.resize(frame.size() + 256);
    __sk_buff context{};
    context.ifindex = static_cast<__u32>(device);
    bpf_test_run_opts options{};
    options.sz = sizeof options;
    options.data_in = frame.data();
    options.data_size_in = static_cast<__u32>(frame.size());
    options.data_out = done.frame.data();
    options.data_size_out = static_cast<__u32>(done.frame.size());
    options.ctx_in = &context;
    options.ctx_size_in = sizeof context;
    options.repeat = 1;
    if (const int error = bpf_prog_test_run_opts(filter.descriptor(hook), &options); error != 0)
        throw std::system_error(-error, std::system_category(), "test run");
    done.verdict = static_cast<int>(options.retval);
    done.frame.resize(options.data_size_out);
    done.ns = options.duration;
    return done;
}

}  // namespace ia::node::test

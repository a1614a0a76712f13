#include "TransferView.h"

#include "BarsView.h"
#include "JsonView.h"
#include "LinesView.h"

namespace quillmark::cli {

std::unique_ptr<TransferObserver> MakeTransferView(const GlobalOptions& options) {
    if (options.json) {
        return std::make_unique<JsonView>();
    }
    if (options.quiet) {
        return std::make_unique<LinesView>(false);
    }
    // The library's log writes to standard error by itself: it would run into the bars.
    if (options.logPath == "-" || !CanRedraw()) {
        return std::make_unique<LinesView>(true);
    }
    return std::make_unique<BarsView>(
        BarsView::Screen{SizeOfTerminal, WriteToTerminal, [] { return std::chrono::steady_clock::now(); }},
        !IsOutputTerminal());
}

}  // namespace quillmark::cli

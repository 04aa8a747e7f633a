#pragma once
// A small project with results that can be worked out by hand, and a look into binary results files.

#include <cstdint>
#include <string>

#include "support/fileimage.h"
#include "support/project.h"

/// Four steps of one minute. J1 takes in 0.5 m3/s and 0.002 kg/s, that is 4 mg/L, of a pollutant (names hold no blank);
/// C1 delays it by two minutes, so O1 gets nothing in steps 1 and 2, and 0.5 m3/s with 4 mg/L in steps 3 and 4.
inline std::string getDelayedProject(const std::string& options = "REPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n",
                                     const std::string& pollutant = "A-B", const std::string& junction = "J1") {
    return getGeneral(4) + options + "[JUNCTIONS]\n" + junction + "\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 " + junction +
           " O1 NO 120\n[POLLUTANTS]\n" + pollutant + " 0\n[INFLOWS]\n" + junction + " FLOW FLOW 0.5 \"\" 1\n" +
           junction + " MASS " + pollutant + " 0.002 \"\" 1\n";
}

/// The same without a pollutant.
inline std::string getPlainProject(const std::string& options = "REPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n") {
    return getGeneral(4) + options +
           "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 120\n[INFLOWS]\nJ1 FLOW FLOW 0.5 \"\" 1\n";
}

/// Value `k` of the closing block: names, codes, dates, results, reports, code, magic number.
inline int32_t getClosing(const std::string& bytes, size_t k) {
    return getInteger(bytes, bytes.size() - 28 + 4 * k);
}

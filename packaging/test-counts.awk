# Reads the results of a test run as CTest writes them for --output-junit. Prints each skipped test
# with its reason, and last the counts in one line.

function attribute(name) {
    if (!match($0, " " name "=\"[^\"]*\"")) return ""
    return substr($0, RSTART + length(name) + 3, RLENGTH - length(name) - 4)
}

/<testcase / {
    total++
    name = attribute("name")
    state = "passed"
    reason = ""
    reason_follows = 0
}
/<failure/ { state = "failed" }
/<skipped/ { state = "skipped" }
reason_follows && reason == "" {
    reason = $0
    reason_follows = 0
}
/: Skipped$/ { reason_follows = 1 }
/<\/testcase>/ {
    count[state]++
    if (state == "skipped") print "Skipped: " name (reason == "" ? "" : " (" reason ")")
}
END { printf "%d passed, %d failed, %d skipped\n", count["passed"], count["failed"], count["skipped"] }

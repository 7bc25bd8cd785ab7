// What the operations on batches know of their records, GETMULTIPAR and SETMULTIPAR alike.
#pragma once

// False for the record that ends a batch.
template <typename RECORD>
bool IsRecord(RECORD const& record) {
    return record.key && *record.key;
}

// Makes all results of a batch false. Null is no batch.
template <typename RECORD>
void ClearResults(RECORD* records) {
    for (; records && IsRecord(*records); ++records) records->result = false;
}

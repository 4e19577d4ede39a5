-- max rows 3
SELECT "No_","Name","Balance" FROM "Customer" WHERE ((("Created_Date" >= {d '2024-02-29'}))) ORDER BY "No_"

-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" WHERE ((("Created" > {d '2024-02-01'}) AND ("Balance" < 1))) ORDER BY RTRIM(LTRIM("No"))

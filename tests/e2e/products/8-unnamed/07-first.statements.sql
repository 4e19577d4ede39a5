SELECT * FROM "Customer_Card" WHERE (1=2)
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" ORDER BY "No_"
